// The link to the data manager, creation and the root. Structure edits, the mirror in the data
// manager, locks and checks are in the sources beside this one.

#include "transformationtree/manager/zectransformationnodemanager.h"

#include "logging/log.h"
#include "platform/base/cbexception.h"
#include "platform/datacontainer/surfels/zecsurfelcollectionqmt.h"
#include "transformationtree/manager/internal/nodemanagernames.h"
#include "transformationtree/manager/internal/refusednodes.h"
#include "transformationtree/nodes/internal/collectsubtree.h"

#include <new>
#include <utility>

template class CbSingleton<ZeCTransformationNodeManager>;

ZeCTransformationNodeManager::ZeCTransformationNodeManager() = default;

ZeCTransformationNodeManager::~ZeCTransformationNodeManager()
{
    if (!root_) return;
    // Nobody waits at exit: where the lock, or memory, is not to be had, the root stays in the data
    // manager.
    try {
        const WriteHandle handle = GetWriteHandle(root_);
        // A data manager that went first has taken the root out, and is not to be touched any more.
        if (IsNodeInDataManager(root_)) TryLock().Acknowledge();
        UnsetRootNode();
    } catch (const std::bad_alloc&) { // NOLINT: nobody is there to be told
    }
}

bool ZeCTransformationNodeManager::SetDataManager(CyDataManager& dataManager,
                                                  CbSmartPointer<CyNode> node)
{
    const CbCriticalSectionLock lock(section_);
    if (dataManager_.load() != nullptr || !node || node->GetDataManager() != &dataManager) {
        return false;
    }
    dataManager_ = &dataManager;
    dataManagerNode_ = std::move(node);
    return true;
}

bool ZeCTransformationNodeManager::UnsetDataManager()
{
    CbSmartPointer<CyNode> node; // goes after the section is left
    const CbCriticalSectionLock lock(section_);
    if (root_) return false;
    dataManager_ = nullptr;
    node.Swap(dataManagerNode_);
    return true;
}

CyDataManager& ZeCTransformationNodeManager::GetDataManager() const
{
    CyDataManager* const dataManager = dataManager_.load();
    if (dataManager == nullptr) {
        throw CbException(CB_HERE, "no data manager is set, call SetDataManager() first");
    }
    return *dataManager;
}

CbSmartPointer<CyNode> ZeCTransformationNodeManager::GetDataNode(const Node& node) const
{
    return IsNodeInDataManager(node) ? CbSmartPointer<CyNode>(node) : nullptr;
}

CbSmartPointer<const CyNode> ZeCTransformationNodeManager::GetDataNode(const ConstNode& node) const
{
    return IsNodeInDataManager(node) ? CbSmartPointer<const CyNode>(node) : nullptr;
}

bool ZeCTransformationNodeManager::IsNodeInDataManager(const ConstNode& node) noexcept
{
    return node && node->GetDataManager() != nullptr;
}

ZeCTransformationNodeManager::Leaf
ZeCTransformationNodeManager::CreateLeafNode(CbSmartPointer<const ZeCModelQMT> model)
{
    auto leaf = CbMake<ZeCTransformationNodeLeaf>(std::move(model));
    initCreatedTransformationNode(leaf);
    return leaf;
}

ZeCTransformationNodeManager::Leaf ZeCTransformationNodeManager::CreateLeafNodeFromSurfelCollection(
    CbSmartPointer<ZeCSurfelCollectionQMT> collection)
{
    return CreateLeafNode(CbMake<ZeCModelQMT>(std::move(collection), true));
}

ZeCTransformationNodeManager::Inner ZeCTransformationNodeManager::CreateInnerNode()
{
    auto inner = CbMake<ZeCTransformationNodeInner>();
    initCreatedTransformationNode(inner);
    return inner;
}

ZeCTransformationNodeManager::Inner ZeCTransformationNodeManager::CreateRootNode()
{
    auto root = CreateInnerNode();
    try {
        root->SetDescription(CB_TEXT("Root"));
        SetRootNode(root);
    } catch (...) {
        DeleteNode(root);
        throw;
    }
    return root;
}

void ZeCTransformationNodeManager::initCreatedTransformationNode(const Node& node)
{
    Node replaced; // goes after the section is left
    const CbCriticalSectionLock lock(section_);
    replaced = registerNode(node);
}

// Returns what the id held before.
ZeCTransformationNodeManager::Node ZeCTransformationNodeManager::registerNode(const Node& node)
{
    const CyUniqueID id = node->GetID();
    if (Node* const held = idMap_.Find(id)) return std::exchange(*held, node);
    idMap_.Set(id, node);
    return nullptr;
}

void ZeCTransformationNodeManager::DeleteNode(const Node& node)
{
    if (!node) return;
    Node registered; // goes after the section is left
    const CbCriticalSectionLock lock(section_);
    registered = idMap_.Take(node->GetID());
}

ZeCTransformationNodeManager::Node
ZeCTransformationNodeManager::GetNodeByID(const CyUniqueID& id) const
{
    const CbCriticalSectionLock lock(section_);
    return findNode(id);
}

ZeCTransformationNodeManager::Node
ZeCTransformationNodeManager::findNode(const CyUniqueID& id) const
{
    const Node* const node = idMap_.Find(id);
    return node != nullptr ? *node : nullptr;
}

ZeCTransformationNodeManager::Inner ZeCTransformationNodeManager::GetRootNode() const
{
    const CbCriticalSectionLock lock(section_);
    return root_;
}

void ZeCTransformationNodeManager::SetRootNode(const Inner& root)
{
    constexpr const char* function = "ZeCTransformationNodeManager::SetRootNode";
    const CbCriticalSectionLock lock(section_);
    if (Logging::IsDebugEnabled(c_nodeManagerLogger)) logIDMap("SetRootNode enter");
    if (!root || root->GetFather() || IsNodeInDataManager(root) || root_) {
        throw CbException(c_nodeManagerFile, 1223, function,
                          !root               ? "the root is null"
                          : root_             ? "a root is set already"
                          : root->GetFather() ? "the node has a father"
                                              : "the node is in a data manager already");
    }
    if (!dataManagerNode_ || dataManagerNode_->GetDataManager() != dataManager_.load()) {
        throw CbException(c_nodeManagerFile, 1231, function,
                          !dataManagerNode_ ? "no data manager is set"
                                            : "the data manager's node has left it");
    }
    Nodes below = CollectPreOrder(*root);
    registerNodes(below);
    below.erase(below.begin()); // the root itself
    dataManager_.load()->InsertNode(dataManagerNode_, root).Acknowledge();
    root_ = root;
    rootAddress_ = root.Get();
    addNodesToDataManager(below);
    if (Logging::IsDebugEnabled(c_nodeManagerLogger)) logIDMap("SetRootNode exit");
}

void ZeCTransformationNodeManager::UnsetRootNode()
{
    Inner root; // goes after the section is left, as do those below it
    std::vector<Node> below;
    RefusedNodes refused(CB_HERE);
    const CbCriticalSectionLock lock(section_);
    if (!root_) return;
    if (Logging::IsDebugEnabled(c_nodeManagerLogger)) logIDMap("UnsetRootNode enter");
    WriteHandle handle;
    if (IsNodeInDataManager(root_)) {
        handle = GetWriteHandle(root_);
        if (!handle.IsValid()) return;
    }
    below = CollectPostOrder(*root_);
    below.pop_back(); // the root itself
    removeNodesFromDataManager(below, refused);
    for (const Node& node : below) DeleteNode(node);
    idMap_.Remove(root_->GetID());
    if (handle.IsValid() && !dataManager_.load()->RemoveNode(handle)) refused.Add(root_.Get(), 1);
    for (const Node& node : below) cutLinks(node);
    cutLinks(root_);
    root.Swap(root_);
    rootAddress_ = nullptr;
    if (Logging::IsDebugEnabled(c_nodeManagerLogger)) logIDMap("UnsetRootNode exit");
}
