#pragma once

#include "platform/messages/cymessagedispatcher.h"
#include "platform/messages/zecmessagetreestructuremodified.h"
#include "transformationtree/nodes/zectransformationnode.h"

#include <vector>

/// The messages of one edit, in order: made before it, when a failure does no harm, and posted
/// after it.
class ChangeMessages
{
public:
    using Node = CbSmartPointer<ZeCTransformationNode>;

    /// @param father may be null
    void AddTreeStructureModified(const Node& node, const Node& father,
                                  ZeCMessageTreeStructureModified::EModificationType type);
    /// That the nodes, which are still where they are, are removed from their fathers.
    void AddRemoved(const std::vector<Node>& nodes);
    /// That the model shows no longer what is below the node.
    void AddModelOutdated(const Node& node, const ZeCModelQMT& model);
    /// With the node's relative transformation, in single precision.
    void AddTransformationChanged(const Node& node);

    /// Posts them all. Needs no memory.
    void Post() noexcept;

private:
    CyMessageDispatcher::Messages messages_;
};
