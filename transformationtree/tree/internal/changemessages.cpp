#include "transformationtree/tree/internal/changemessages.h"

#include "platform/messages/zecmessagesurfelcollectionmodified.h"
#include "platform/messages/zecmessagetransformationchanged.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"

void ChangeMessages::AddTreeStructureModified(
    const Node& node, const Node& father, ZeCMessageTreeStructureModified::EModificationType type)
{
    messages_.push_back(CbMake<ZeCMessageTreeStructureModified>(node, father, type));
}

void ChangeMessages::AddRemoved(const std::vector<Node>& nodes)
{
    // Each names the father that it still has.
    for (const Node& node : nodes) {
        AddTreeStructureModified(node, node->GetFather(),
                                 ZeCMessageTreeStructureModified::eNodeRemoved);
    }
}

void ChangeMessages::AddModelOutdated(const Node& node, const ZeCModelQMT& model)
{
    messages_.push_back(CbMake<ZeCMessageSurfelCollectionModified>(
        node, model.GetID(), ZeCMessageSurfelCollectionModified::eModelOutdated));
}

void ChangeMessages::AddTransformationChanged(const Node& node)
{
    messages_.push_back(
        CbMake<ZeCMessageTransformationChanged>(node, ToFloat(node->GetRelativeTrafo())));
}

void ChangeMessages::Post() noexcept { CyMessageDispatcher::PostMessageW(messages_); }
