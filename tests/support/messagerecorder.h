#pragma once

#include "platform/messages/cymessagedispatcher.h"
#include "platform/messages/zecmessagesurfelcollectionmodified.h"
#include "platform/messages/zecmessagetransformationchanged.h"
#include "platform/messages/zecmessagetreestructuremodified.h"
#include "transformationtree/nodes/zectransformationnode.h"

#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// Records the messages that are posted while it lives, each as a line of text. Nodes appear by
/// their descriptions at the time of Take(), modification types as numbers.
///
/// "structure node < father 1", "trafo node 1 0 0 0 ..." (all values), "surfels node model-id 1"
class MessageRecorder
{
public:
    MessageRecorder()
        : subscription_(CyMessageDispatcher::GetInstance().Subscribe(
              CyMessage::RTTI,
              [this](const CyMessage& message) { lines_.push_back(lineOf(message)); }))
    {}
    MessageRecorder(const MessageRecorder&) = delete;
    MessageRecorder& operator=(const MessageRecorder&) = delete;

    /// Returns the lines since the last call, in the order of posting.
    [[nodiscard]] std::vector<std::string> Take()
    {
        CyMessageDispatcher::GetInstance().DispatchMessages();
        return std::exchange(lines_, {});
    }

private:
    static std::string nameOf(const CbSmartPointer<CyNode>& node)
    {
        const auto treeNode = CbDynamicPointerCast<ZeCTransformationNode>(node);
        return treeNode ? treeNode->GetDescription().ToUtf8() : "none";
    }

    static std::string lineOf(const CyMessage& message)
    {
        std::ostringstream line;
        if (const auto* change = dynamic_cast<const ZeCMessageTreeStructureModified*>(&message)) {
            line << "structure " << nameOf(change->GetNode()) << " < "
                 << nameOf(change->GetFather()) << ' ' << change->GetModificationType();
        }
        if (const auto* change = dynamic_cast<const ZeCMessageTransformationChanged*>(&message)) {
            line << "trafo " << nameOf(change->GetNode());
            for (std::size_t i = 0; i < 16; ++i) line << ' ' << change->GetTrafo().data()[i];
        }
        if (const auto* change =
                dynamic_cast<const ZeCMessageSurfelCollectionModified*>(&message)) {
            line << "surfels " << nameOf(change->GetNode()) << ' '
                 << change->GetModelID().ToString().ToUtf8() << ' '
                 << change->GetModificationType();
        }
        return line.str();
    }

    std::vector<std::string> lines_;
    CyMessageSubscription subscription_; ///< ends before the lines go
};
