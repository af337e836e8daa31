#include "transformationtree/internal/changemessages.h"

#include "platform/messages/cymessagedispatcher.h"
#include "platform/messages/zecmessagetransformationchanged.h"

void ChangeMessages::AddTreeStructureModified(
    const Node& node, const Node& father, ZeCMessageTreeStructureModified::EModificationType type)
{
    messages_.push_back(CbMake<ZeCMessageTreeStructureModified>(node, father, type));
}

void ChangeMessages::AddTransformationChanged(const Node& node)
{
    messages_.push_back(
        CbMake<ZeCMessageTransformationChanged>(node, ToFloat(node->GetRelativeTrafo())));
}

void ChangeMessages::Post() const
{
    for (const auto& message : messages_) CyMessageDispatcher::PostMessageW(message);
}
