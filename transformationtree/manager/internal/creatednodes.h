#pragma once

#include "transformationtree/manager/zectransformationnodemanager.h"

#include <vector>

/// Nodes that an edit creates. Unless they are kept in the end, they are taken from their fathers
/// and lose their ids, the last one first; they may have no other children than each other then.
class CreatedNodes
{
public:
    using Manager = ZeCTransformationNodeManager;

    explicit CreatedNodes(Manager& manager) : manager_(manager) {}
    CreatedNodes(const CreatedNodes&) = delete;
    CreatedNodes& operator=(const CreatedNodes&) = delete;
    ~CreatedNodes();

    [[nodiscard]] Manager::Leaf CreateLeaf(const CbSmartPointer<const ZeCModelQMT>& model);
    [[nodiscard]] Manager::Inner CreateInner(const CString& description);

    /// Leaves all nodes as they are: the edit has succeeded.
    void Keep() noexcept { nodes_.clear(); }

private:
    Manager& manager_;
    std::vector<Manager::Node> nodes_; ///< a null entry for one whose creation failed
};
