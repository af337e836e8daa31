#include "platform/messages/cymessagesubscription.h"

#include "platform/messages/cymessagedispatcher.h"
#include "platform/messages/internal/cysubscriber.h"

#include <utility>

CyMessageSubscription::CyMessageSubscription() noexcept = default;

CyMessageSubscription::CyMessageSubscription(CbSmartPointer<CySubscriber> subscriber) noexcept
    : subscriber_(std::move(subscriber))
{}

CyMessageSubscription::CyMessageSubscription(CyMessageSubscription&& other) noexcept = default;

CyMessageSubscription& CyMessageSubscription::operator=(CyMessageSubscription&& other) noexcept
{
    CyMessageSubscription taken(std::move(other));
    subscriber_.Swap(taken.subscriber_);
    return *this;
}

CyMessageSubscription::~CyMessageSubscription() { Unsubscribe(); }

void CyMessageSubscription::Unsubscribe() noexcept
{
    const auto subscriber = std::exchange(subscriber_, nullptr);
    if (!subscriber) return;
    subscriber->End();
    if (CbSingleton<CyMessageDispatcher>::HasInstance()) {
        CyMessageDispatcher::GetInstance().remove(*subscriber);
    }
}
