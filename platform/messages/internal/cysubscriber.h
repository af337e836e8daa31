#pragma once

#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbreferencecounted.h"
#include "platform/base/cbrtti.h"
#include "platform/messages/cymessage.h"

#include <functional>
#include <utility>

/// A subscription as the dispatcher keeps it.
class CySubscriber : public CbReferenceCounted
{
public:
    using Callback = std::function<void(const CyMessage&)>;

    CySubscriber(const CbRTTI& type, Callback callback)
        : type_(type), callback_(std::move(callback))
    {}

    [[nodiscard]] bool Wants(const CyMessage& message) const { return message.IsKindOf(type_); }

    /// Calls back, unless the subscription has ended.
    void Deliver(const CyMessage& message)
    {
        const CbCriticalSectionLock lock(delivering_);
        if (active_) callback_(message);
    }

    /// Lets nothing through any more and waits for a delivery that runs on another thread.
    void End() noexcept
    {
        const CbCriticalSectionLock lock(delivering_);
        active_ = false;
    }

protected:
    ~CySubscriber() override = default;

private:
    const CbRTTI& type_;
    const Callback callback_;
    CbCriticalSection delivering_; ///< held while calling back; the one who ends waits for it
    bool active_ CB_GUARDED_BY(delivering_) = true;
};
