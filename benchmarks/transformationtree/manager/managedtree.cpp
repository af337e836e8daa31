#include "benchmarks/transformationtree/manager/managedtree.h"

#include "benchmarks/transformationtree/walks/plaintree.h"

#include <stdexcept>

std::vector<CbSmartPointer<ZeCTransformationNode>> BuildNodes(const std::vector<int>& fathers)
{
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    std::vector<bool> hasChildren(fathers.size());
    for (const int father : fathers) {
        if (father >= 0) hasChildren[static_cast<std::size_t>(father)] = true;
    }
    std::vector<CbSmartPointer<ZeCTransformationNode>> nodes;
    for (std::size_t i = 0; i < fathers.size(); ++i) {
        CbSmartPointer<ZeCTransformationNode> node;
        if (hasChildren[i]) {
            node = manager.CreateInnerNode();
        } else {
            node = manager.CreateLeafNode(nullptr);
        }
        node->SetRelativeTrafo(SomeTrafo(i));
        if (fathers[i] >= 0) {
            const auto& father = nodes[static_cast<std::size_t>(fathers[i])];
            manager.AppendChild(CbStaticPointerCast<ZeCTransformationNodeInner>(father), node);
        }
        nodes.push_back(std::move(node));
    }
    return nodes;
}

CbSmartPointer<ZeCTransformationNodeInner>
BuildTree(const std::vector<int>& fathers, std::vector<CbSmartPointer<ZeCTransformationNode>>* out)
{
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    auto nodes = BuildNodes(fathers);
    auto root = CbStaticPointerCast<ZeCTransformationNodeInner>(nodes.front());
    // The tree alone keeps its nodes alive.
    for (const auto& node : nodes) manager.DeleteNode(node);
    if (out != nullptr) *out = std::move(nodes);
    return root;
}

ManagedTree::ManagedTree(const std::vector<int>& fathers)
{
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    const auto root = BuildTree(fathers, &nodes_);
    if (!manager.SetDataManager(dataManager_, dataManager_.GetTopNode())) {
        throw std::logic_error("another tree hangs in a data manager");
    }
    manager.SetRootNode(root);
}

ManagedTree::~ManagedTree()
{
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    const auto lock = manager.GetSingleWriteHandleLocked(nodes_.front());
    manager.UnsetRootNode();
    (void)manager.UnsetDataManager();
}
