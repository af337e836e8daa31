#include "examples/scansession/app/changecounter.h"

#include "platform/messages/cymessagedispatcher.h"
#include "platform/messages/zecmessagesurfelcollectionmodified.h"
#include "platform/messages/zecmessagetransformationchanged.h"
#include "platform/messages/zecmessagetreestructuremodified.h"

#include <utility>

namespace scansession
{

namespace
{

std::string NameOf(ZeCMessageTreeStructureModified::EModificationType type)
{
    switch (type) {
    case ZeCMessageTreeStructureModified::eNodeAdded:
        return "nodes added";
    case ZeCMessageTreeStructureModified::eNodeRemoved:
        return "nodes removed";
    case ZeCMessageTreeStructureModified::eNodeMoved:
        return "nodes moved";
    case ZeCMessageTreeStructureModified::eClusterCreated:
        return "clusters created";
    case ZeCMessageTreeStructureModified::eTopInserted:
        return "levels added";
    }
    return "other changes";
}

} // namespace

ChangeCounter::ChangeCounter()
{
    const auto subscribe = [&](const CbRTTI& type, CyMessageDispatcher::Callback callback) {
        subscriptions_.push_back(
            CyMessageDispatcher::GetInstance().Subscribe(type, std::move(callback)));
    };
    subscribe(ZeCMessageTreeStructureModified::RTTI, [this](const CyMessage& message) {
        const auto& modified = static_cast<const ZeCMessageTreeStructureModified&>(message);
        ++counts_[NameOf(modified.GetModificationType())];
    });
    subscribe(ZeCMessageTransformationChanged::RTTI,
              [this](const CyMessage&) { ++counts_["transformations changed"]; });
    subscribe(ZeCMessageSurfelCollectionModified::RTTI,
              [this](const CyMessage&) { ++counts_["models outdated"]; });
}

std::string ChangeCounter::Summary() const
{
    std::string text;
    for (const auto& [change, count] : counts_) {
        text += (text.empty() ? "" : ", ") + change + ": " + std::to_string(count);
    }
    return text.empty() ? "none" : text;
}

} // namespace scansession
