#pragma once

#include "transformationtree/transformationtree.h"

#include <memory>
#include <vector>

/// The nodes of a tree of a shape, linked and registered, in pre-order; nodes without children are
/// leaves.
[[nodiscard]] std::vector<CbSmartPointer<ZeCTransformationNode>>
BuildNodes(const std::vector<int>& fathers);

/// The root of such a tree whose nodes are not registered.
[[nodiscard]] CbSmartPointer<ZeCTransformationNodeInner>
BuildTree(const std::vector<int>& fathers,
          std::vector<CbSmartPointer<ZeCTransformationNode>>* nodes = nullptr);

/// A tree that hangs in a data manager while this lives.
class ManagedTree
{
public:
    explicit ManagedTree(const std::vector<int>& fathers);
    ManagedTree(const ManagedTree&) = delete;
    ManagedTree& operator=(const ManagedTree&) = delete;
    ~ManagedTree();

    [[nodiscard]] const std::vector<CbSmartPointer<ZeCTransformationNode>>& GetNodes() const
    {
        return nodes_;
    }

private:
    CyDataManager dataManager_;
    std::vector<CbSmartPointer<ZeCTransformationNode>> nodes_;
};
