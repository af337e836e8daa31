#include "platform/messages/cymessagedispatcher.h"

#include "platform/base/cbexception.h"
#include "platform/messages/internal/cysubscriber.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

template class CbSingleton<CyMessageDispatcher>;

namespace
{

// Sets a flag for as long as it lives.
class FlagScope
{
public:
    explicit FlagScope(bool& flag) noexcept : flag_(flag) { flag_ = true; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;
    ~FlagScope() { flag_ = false; }

private:
    bool& flag_;
};

} // namespace

CyMessageDispatcher::CyMessageDispatcher() = default;

CyMessageDispatcher::~CyMessageDispatcher() = default;

CyMessageDispatcher& CyMessageDispatcher::GetInstance()
{
    return CbSingleton<CyMessageDispatcher>::GetInstance();
}

void CyMessageDispatcher::PostMessageW(CbSmartPointer<const CyMessage> message)
{
    if (!message) return;
    Messages messages;
    messages.push_back(std::move(message));
    PostMessageW(messages);
}

void CyMessageDispatcher::PostMessageW(Messages& messages) noexcept
{
    // Without a dispatcher nobody has subscribed.
    if (CbSingleton<CyMessageDispatcher>::HasInstance()) GetInstance().post(messages);
}

CyMessageSubscription CyMessageDispatcher::Subscribe(const CbRTTI& type, Callback callback)
{
    if (!callback) throw CbException(CB_HERE, "a subscription without callback");
    auto subscriber = CbMake<CySubscriber>(type, std::move(callback));
    const CbCriticalSectionLock lock(section_);
    subscribers_.push_back(subscriber);
    return CyMessageSubscription(std::move(subscriber));
}

std::size_t CyMessageDispatcher::DispatchMessages()
{
    const CbCriticalSectionLock dispatching(dispatching_);
    if (isDispatching_) return 0; // inside a callback
    const FlagScope scope(isDispatching_);
    std::size_t taken = 0;
    for (std::size_t left = GetNrQueuedMessages(); left > 0; --left) {
        const auto message = takeFirst();
        if (!message) break; // what was left was dropped with its subscriber
        ++taken;
        deliver(*message);
    }
    return taken;
}

std::size_t CyMessageDispatcher::GetNrQueuedMessages() const
{
    const CbCriticalSectionLock lock(section_);
    return queue_.size();
}

// Leaves what nobody wants to the caller, who drops it outside the section.
void CyMessageDispatcher::post(Messages& messages) noexcept
{
    const CbCriticalSectionLock lock(section_);
    for (auto message = messages.begin(); message != messages.end();) {
        const auto wanted = message++;
        if (hasSubscriber(**wanted)) queue_.splice(queue_.end(), messages, wanted);
    }
}

void CyMessageDispatcher::remove(const CySubscriber& subscriber) noexcept
{
    {
        const CbCriticalSectionLock lock(section_); // the caller holds the subscriber
        std::erase_if(subscribers_, [&](const auto& entry) { return entry.Get() == &subscriber; });
    }
    // Messages that nobody wants any more go outside the section, in portions that need no memory:
    // not every list can be made without.
    std::array<CbSmartPointer<const CyMessage>, 64> dropped;
    std::size_t count = dropped.size();
    while (count == dropped.size()) {
        dropped = {};
        count = 0;
        const CbCriticalSectionLock lock(section_);
        for (auto message = queue_.begin(); message != queue_.end() && count < dropped.size();) {
            const bool wanted = hasSubscriber(**message);
            if (!wanted) dropped[count++] = std::move(*message);
            message = wanted ? std::next(message) : queue_.erase(message);
        }
    }
}

bool CyMessageDispatcher::hasSubscriber(const CyMessage& message) const
{
    return std::any_of(subscribers_.begin(), subscribers_.end(),
                       [&](const auto& subscriber) { return subscriber->Wants(message); });
}

CbSmartPointer<const CyMessage> CyMessageDispatcher::takeFirst()
{
    const CbCriticalSectionLock lock(section_);
    if (queue_.empty()) return nullptr;
    auto message = std::move(queue_.front());
    queue_.pop_front();
    return message;
}

void CyMessageDispatcher::deliver(const CyMessage& message)
{
    Subscribers wanting;
    {
        const CbCriticalSectionLock lock(section_);
        std::copy_if(subscribers_.begin(), subscribers_.end(), std::back_inserter(wanting),
                     [&](const auto& subscriber) { return subscriber->Wants(message); });
    }
    for (const auto& subscriber : wanting) subscriber->Deliver(message);
}
