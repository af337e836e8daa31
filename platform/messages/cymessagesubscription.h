#pragma once

#include "platform/base/cbsmartpointer.h"
#include "platform/base/platformapi.h"

class CySubscriber;

/// Keeps a subscription with CyMessageDispatcher alive.
///
/// Lifetime: may outlive the dispatcher. Threads: one object is not to be used by two threads at
/// once.
class PLATFORM_API CyMessageSubscription
{
public:
    /// No subscription.
    CyMessageSubscription() noexcept;
    /// Leaves no subscription behind. One that is assigned to ends its old subscription.
    CyMessageSubscription(CyMessageSubscription&& other) noexcept;
    CyMessageSubscription& operator=(CyMessageSubscription&& other) noexcept;
    CyMessageSubscription(const CyMessageSubscription&) = delete;
    CyMessageSubscription& operator=(const CyMessageSubscription&) = delete;
    ~CyMessageSubscription();

    /// True from Subscribe() until the subscription is ended or moved away, even if the dispatcher
    /// is gone.
    [[nodiscard]] bool IsActive() const noexcept { return static_cast<bool>(subscriber_); }

    /// Ends the subscription. Nothing is delivered to it after the return; a delivery that runs on
    /// another thread is waited for, one that runs on this thread goes on to its end. So a thread
    /// that holds what the callback waits for must not end the subscription.
    void Unsubscribe() noexcept;

private:
    friend class CyMessageDispatcher;

    explicit CyMessageSubscription(CbSmartPointer<CySubscriber> subscriber) noexcept;

    CbSmartPointer<CySubscriber> subscriber_;
};
