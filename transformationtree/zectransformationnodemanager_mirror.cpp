// The mirror of the tree in the data manager.

#include "transformationtree/internal/collectsubtree.h"
#include "transformationtree/zectransformationnodemanager.h"

namespace
{

// Drops the entries that belong to another father by now.
void eraseStaleEntries(ZeCTransformationNodeInner& father,
                       ZeCTransformationNodeInner::Children& children)
{
    const auto erased = std::erase_if(
        children, [&](const auto& child) { return child && !child->IsChildOf(father); });
    if (erased != 0) father.NewNodeRevision(0xFFFFFFFF);
}

} // namespace

ZeCTransformationNodeManager::Nodes ZeCTransformationNodeManager::collectToAdd(const Node& top,
                                                                               bool registerIds)
{
    Nodes nodes = CollectPreOrder(*top);
    if (registerIds) {
        const CbCriticalSectionLock lock(section_);
        idMap_.Reserve(idMap_.GetCount() + nodes.size());
    }
    return nodes;
}

ZeCTransformationNodeManager::Nodes
ZeCTransformationNodeManager::collectToRemove(const Node& top) const
{
    (void)GetWriteHandle(top); // a thread's first handle needs memory too
    return CollectPostOrder(*top);
}

std::vector<ZeCTransformationNodeManager::Node>
ZeCTransformationNodeManager::keepAlive(const Nodes& nodes)
{
    return {nodes.begin(), nodes.end()};
}

void ZeCTransformationNodeManager::addNodeToDataManager(ZeCTransformationNode& node,
                                                        bool registerId)
{
    const Node pointer(&node);
    if (CyDataManager* const dataManager = dataManager_.load()) {
        const auto father = GetDataNode(Node(node.GetFather()));
        dataManager->InsertNode(father, pointer).Acknowledge();
    }
    if (registerId) initCreatedTransformationNode(pointer);
}

void ZeCTransformationNodeManager::addNodesToDataManager(const Nodes& nodes, bool registerIds)
{
    for (ZeCTransformationNode* const node : nodes) addNodeToDataManager(*node, registerIds);
}

void ZeCTransformationNodeManager::addSubtreeToDataManager(const Node& node, bool registerIds)
{
    addNodesToDataManager(collectToAdd(node, registerIds), registerIds);
}

void ZeCTransformationNodeManager::AddSubtreeToDataManager(const Node& node)
{
    if (node) addSubtreeToDataManager(node, true);
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

void ZeCTransformationNodeManager::removeNodesFromDataManager(const Nodes& nodes, bool unregister)
{
    for (ZeCTransformationNode* const raw : nodes) {
        const Node node(raw);
        if (!node->IsLeaf()) {
            auto& inner = static_cast<ZeCTransformationNodeInner&>(*node);
            eraseStaleEntries(inner, inner.children_);
        }
        removeNodeFromDataManager(node);
        if (unregister) DeleteNode(node);
    }
}

void ZeCTransformationNodeManager::removeSubtreeFromDataManager(const Node& node, bool unregister)
{
    removeNodesFromDataManager(collectToRemove(node), unregister);
}
