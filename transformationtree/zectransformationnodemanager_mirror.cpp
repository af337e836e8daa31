// The mirror of the tree in the data manager.

#include "transformationtree/internal/collectsubtree.h"
#include "transformationtree/zectransformationnodemanager.h"

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

std::vector<ZeCTransformationNodeManager::Node>
ZeCTransformationNodeManager::collectToRemove(const Node& top) const
{
    (void)GetWriteHandle(top); // a thread's first handle needs memory too
    return CollectPostOrder(*top);
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

void ZeCTransformationNodeManager::removeNodeFromDataManager(const Node& node)
{
    WriteHandle handle = GetWriteHandle(node);
    CyDataManager* const dataManager = dataManager_.load();
    // A node outside the data manager gives an empty handle: there is nothing to take out.
    if (IsNodeInDataManager(node) && dataManager != nullptr) {
        dataManager->RemoveNode(handle).Acknowledge();
    }
}

void ZeCTransformationNodeManager::removeNodesFromDataManager(const std::vector<Node>& nodes,
                                                              bool unregister)
{
    for (const Node& node : nodes) {
        if (!node->IsLeaf()) {
            auto& inner = static_cast<ZeCTransformationNodeInner&>(*node);
            eraseStaleEntries(inner, inner.children_);
        }
        removeNodeFromDataManager(node);
        if (unregister) DeleteNode(node);
    }
}

void ZeCTransformationNodeManager::removeSubtreeFromDataManager(const Node& node)
{
    removeNodesFromDataManager(collectToRemove(node), false);
}
