#pragma once

#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbsingleton.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/messages/cymessage.h"
#include "platform/messages/cymessagesubscription.h"

#include <cstddef>
#include <functional>
#include <list>
#include <vector>

/// Queue of change messages between the library and its application.
///
/// Posting puts a message into the queue and never delivers it; the application pumps the queue, on
/// the thread it chooses. A message that nobody subscribed to is dropped at once, so that an
/// application that never pumps does not keep nodes alive.
///
/// Threads: all operations are safe beside each other. Only one thread delivers at a time.
///
/// @code
/// const auto subscription = CyMessageDispatcher::GetInstance().Subscribe(
///     ZeCMessageTreeStructureModified::RTTI, [](const CyMessage& message) { ... });
/// CyMessageDispatcher::GetInstance().DispatchMessages();
/// @endcode
class PLATFORM_API CyMessageDispatcher
{
public:
    /// Messages in the order of their posting.
    using Messages = std::list<CbSmartPointer<const CyMessage>>;
    /// Called with each message, on the thread that delivers it.
    using Callback = std::function<void(const CyMessage&)>;

    CyMessageDispatcher(const CyMessageDispatcher&) = delete;
    CyMessageDispatcher& operator=(const CyMessageDispatcher&) = delete;

    /// The dispatcher of the process.
    [[nodiscard]] static CyMessageDispatcher& GetInstance();

    /// Queues a message for the subscribers of its class. Null is ignored.
    /// Throws: std::bad_alloc; the message is not queued then.
    static void PostMessageW(CbSmartPointer<const CyMessage> message);
    /// Queues several messages, in their order, none of which is null; those that somebody wants
    /// are taken out of the list. Needs no memory, so that who makes the messages before an edit is
    /// sure to post them after it.
    static void PostMessageW(Messages& messages) noexcept;

    /// Subscribes to messages of the class @p type and of those derived from it, until the
    /// subscription ends. Throws: CbException for an empty callback, std::bad_alloc.
    [[nodiscard]] CyMessageSubscription Subscribe(const CbRTTI& type, Callback callback);

    /// Delivers the messages that are queued at the time of the call, in the order of their
    /// posting, each to its subscribers in the order of their subscribing. Callbacks may post,
    /// subscribe and unsubscribe; what they post stays for the next call. An exception of a
    /// callback comes through here, the messages behind that one stay queued. Waits while another
    /// thread delivers; called from inside a callback it does nothing.
    /// @return number of messages taken from the queue
    std::size_t DispatchMessages();

    /// Number of messages waiting.
    [[nodiscard]] std::size_t GetNrQueuedMessages() const;

private:
    friend class CbSingleton<CyMessageDispatcher>;
    friend class CyMessageSubscription;

    using Subscribers = std::vector<CbSmartPointer<CySubscriber>>;

    CyMessageDispatcher();
    ~CyMessageDispatcher();

    void post(Messages& messages) noexcept;
    void remove(const CySubscriber& subscriber) noexcept;
    [[nodiscard]] bool hasSubscriber(const CyMessage& message) const CB_REQUIRES(section_);
    [[nodiscard]] CbSmartPointer<const CyMessage> takeFirst();
    void deliver(const CyMessage& message);

    CbCriticalSection dispatching_; ///< held by the thread that delivers; entered before section_
    bool isDispatching_ CB_GUARDED_BY(dispatching_) = false;
    mutable CbCriticalSection section_;
    Messages queue_ CB_GUARDED_BY(section_);
    Subscribers subscribers_ CB_GUARDED_BY(section_); ///< in the order of subscribing
};

extern template class PLATFORM_API CbSingleton<CyMessageDispatcher>;
