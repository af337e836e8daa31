#pragma once

#include "transformationtree/transformationtree.h"

#include <memory>
#include <vector>

/// A tree of a shape, nodes allocated in pre-order; nodes without children are leaves.
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
