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
    // Without a dispatcher nobody has subscribed.
    if (!message || !CbSingleton<CyMessageDispatcher>::HasInstance()) return;
    GetInstance().post(std::move(message));
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

void CyMessageDispatcher::post(CbSmartPointer<const CyMessage> message)
{
    const CbCriticalSectionLock lock(section_);
    if (hasSubscriber(*message)) queue_.push_back(std::move(message));
}

void CyMessageDispatcher::remove(const CySubscriber& subscriber) noexcept
{
    {
        const CbCriticalSectionLock lock(section_); // the caller holds the subscriber
        std::erase_if(subscribers_, [&](const auto& entry) { return entry.Get() == &subscriber; });
    }
    // Messages that nobody wants any more go outside the section, in portions that need no memory.
    std::array<CbSmartPointer<const CyMessage>, 64> dropped;
    std::size_t count = dropped.size();
    while (count == dropped.size()) {
        dropped = {};
        count = 0;
        const CbCriticalSectionLock lock(section_);
        auto kept = queue_.begin();
        for (auto& message : queue_) {
            if (count < dropped.size() && !hasSubscriber(*message)) {
                dropped[count++] = std::move(message);
            } else {
                std::swap(*kept++, message);
            }
        }
        queue_.erase(kept, queue_.end());
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
