// The mirror of the tree in the data manager.

#include "transformationtree/manager/internal/refusednodes.h"
#include "transformationtree/manager/zectransformationnodemanager.h"
#include "transformationtree/nodes/internal/collectsubtree.h"

namespace
{

// Drops the entries that belong to another father by now.
void eraseStaleEntries(ZeCTransformationNodeInner& father, ZeCChildList& children)
{
    const auto erased =
        children.EraseIf([&](const auto& child) { return child && !child->IsChildOf(father); });
    if (erased != 0) father.NewNodeRevision(ZeCTransformationNode::c_allRevisions);
}

} // namespace

// All of them or, for want of memory, none.
void ZeCTransformationNodeManager::registerNodes(const Nodes& nodes)
{
    std::vector<Node> replaced(nodes.size()); // go after the section is left
    const CbCriticalSectionLock lock(section_);
    idMap_.Reserve(idMap_.GetCount() + nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) replaced[i] = registerNode(Node(nodes[i]));
}

void ZeCTransformationNodeManager::addNodeToDataManager(ZeCTransformationNode& node)
{
    CyDataManager* const dataManager = dataManager_.load();
    if (dataManager == nullptr) return;
    const auto father = GetDataNode(Node(node.GetFather()));
    dataManager->InsertNode(father, Node(&node)).Acknowledge();
}

void ZeCTransformationNodeManager::addNodesToDataManager(const Nodes& nodes)
{
    for (ZeCTransformationNode* const node : nodes) addNodeToDataManager(*node);
}

void ZeCTransformationNodeManager::AddSubtreeToDataManager(const Node& node)
{
    if (!node) return;
    const Nodes nodes = CollectPreOrder(*node);
    registerNodes(nodes);
    addNodesToDataManager(nodes);
}

void ZeCTransformationNodeManager::takeOutOfDataManager(CyNodeView nodes,
                                                        RefusedNodes& refused) noexcept
{
    CyDataManager* const dataManager = dataManager_.load();
    const auto isIn = [&](const CyNode& node) { return node.GetDataManager() == dataManager; };
    // A data manager that has no node of the tree may be gone by now.
    if (dataManager == nullptr || nodes.Find(isIn) == nullptr) return;
    const std::size_t number = dataManager->RemoveNodes(nodes);
    if (number != 0) refused.Add(nodes.Find(isIn), number);
}

void ZeCTransformationNodeManager::moveInDataManager(CyNodeView nodes, const Inner& newFather,
                                                     RefusedNodes& refused) noexcept
{
    CyDataManager* const dataManager = dataManager_.load();
    const std::size_t number = dataManager->MoveNodes(nodes, newFather);
    const auto isElsewhere = [&](const CyNode& node) {
        return node.GetDataManager() == dataManager && node.GetParent() != newFather;
    };
    if (number != 0) refused.Add(nodes.Find(isElsewhere), number);
}

void ZeCTransformationNodeManager::removeNodesFromDataManager(const std::vector<Node>& nodes,
                                                              RefusedNodes& refused)
{
    for (const Node& node : nodes) {
        if (node->IsLeaf()) continue;
        auto& inner = static_cast<ZeCTransformationNodeInner&>(*node);
        eraseStaleEntries(inner, inner.children_);
    }
    takeOutOfDataManager(CyNodeView(nodes), refused);
}
