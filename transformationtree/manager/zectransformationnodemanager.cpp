#include "transformationtree/manager/zectransformationnodemanager.h"

#include "platform/base/cbexception.h"
#include "platform/datacontainer/surfels/zecsurfelcollectionqmt.h"
#include "transformationtree/manager/internal/managerparts.h"

#include <new>
#include <utility>

template class CbSingleton<ZeCTransformationNodeManager>;

ZeCTransformationNodeManager::ZeCTransformationNodeManager()
    : parts_(std::make_unique<Parts>(section_))
{}

ZeCTransformationNodeManager::~ZeCTransformationNodeManager()
{
    const Inner root = GetRootNode();
    if (!root) return;
    // Nobody waits at exit: if the lock, or memory, is not to be had, the root stays in the data
    // manager.
    try {
        const WriteHandle handle = GetWriteHandle(root);
        // A data manager that went first has taken the root out, and is not to be touched any more.
        if (IsNodeInDataManager(root)) TryLock().Acknowledge();
        UnsetRootNode();
    } catch (const std::bad_alloc&) { // NOLINT: nobody is there to be told
    }
}

// The link to the data manager.

bool ZeCTransformationNodeManager::SetDataManager(CyDataManager& dataManager,
                                                  CbSmartPointer<CyNode> node)
{
    return parts_->mirror.SetDataManager(dataManager, std::move(node));
}

bool ZeCTransformationNodeManager::UnsetDataManager() { return parts_->mirror.UnsetDataManager(); }

CyDataManager& ZeCTransformationNodeManager::GetDataManager() const
{
    CyDataManager* const dataManager = parts_->mirror.GetDataManager();
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
    return IsInDataManager(node);
}

// Creation.

ZeCTransformationNodeManager::Leaf
ZeCTransformationNodeManager::CreateLeafNode(CbSmartPointer<const ZeCModelQMT> model)
{
    auto leaf = CbMake<ZeCTransformationNodeLeaf>(std::move(model));
    parts_->registry.InitCreatedTransformationNode(leaf);
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
    parts_->registry.InitCreatedTransformationNode(inner);
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

void ZeCTransformationNodeManager::DeleteNode(const Node& node)
{
    if (node) parts_->registry.DeleteNode(*node);
}

ZeCTransformationNodeManager::Node
ZeCTransformationNodeManager::GetNodeByID(const CyUniqueID& id) const
{
    return parts_->registry.GetNodeByID(id);
}

// The root and the structure.

ZeCTransformationNodeManager::Inner ZeCTransformationNodeManager::GetRootNode() const
{
    return parts_->mirror.GetRoot();
}

void ZeCTransformationNodeManager::SetRootNode(const Inner& root)
{
    parts_->edits.SetRootNode(root);
}

void ZeCTransformationNodeManager::UnsetRootNode() { parts_->edits.UnsetRootNode(); }

void ZeCTransformationNodeManager::InsertChild(
    const Inner& father, ZeCTransformationNodeInner::ConstChildIterator position, const Node& child)
{
    const auto index = father ? position - std::as_const(*father).BeginChild() : 0;
    parts_->edits.InsertChild(father, static_cast<std::size_t>(index), child);
}

void ZeCTransformationNodeManager::InsertChild(const Inner& father, const ConstNode& before,
                                               const Node& child)
{
    parts_->edits.InsertChild(father, before, child);
}

void ZeCTransformationNodeManager::AppendChild(const Inner& father, const Node& child, bool atEnd)
{
    parts_->edits.AppendChild(father, child, atEnd);
}

void ZeCTransformationNodeManager::RemoveChild(const Inner& father, const Node& child)
{
    parts_->edits.RemoveChild(father, child);
}

void ZeCTransformationNodeManager::DeleteChildren(const Inner& father,
                                                  const std::function<void()>& first)
{
    parts_->edits.DeleteChildren(father, first);
}

void ZeCTransformationNodeManager::ReplaceChild(const Inner& father, const Node& oldChild,
                                                const Node& newChild)
{
    parts_->edits.ReplaceChild(father, oldChild, newChild);
}

void ZeCTransformationNodeManager::ExchangeChild(const Inner& father, const Node& oldChild,
                                                 const Node& newChild)
{
    parts_->edits.ExchangeChild(father, oldChild, newChild);
}

void ZeCTransformationNodeManager::MoveNode(const Inner& newFather, const Node& node,
                                            const ConstNode& before)
{
    parts_->edits.MoveNode(newFather, node, before);
}

void ZeCTransformationNodeManager::MoveNodes(const Inner& newFather, const std::vector<Node>& nodes)
{
    parts_->edits.MoveNodes(newFather, nodes);
}

void ZeCTransformationNodeManager::ReplaceChildren(const Inner& father,
                                                   const std::vector<Node>& children)
{
    parts_->edits.ReplaceChildren(father, children);
}

void ZeCTransformationNodeManager::AddSubtreeToDataManager(const Node& node)
{
    parts_->edits.AddSubtreeToDataManager(node);
}

// Locks.

ZeCTransformationNodeManager::ReadHandle
ZeCTransformationNodeManager::GetReadHandle(const ConstNode& node) const
{
    return parts_->locks.GetHandle<0>(node);
}

ZeCTransformationNodeManager::WriteHandle
ZeCTransformationNodeManager::GetWriteHandle(const Node& node) const
{
    return parts_->locks.GetHandle<1>(node);
}

void ZeCTransformationNodeManager::GetHandle(const CbSmartPointer<const CyNode>& node,
                                             ReadHandle& handle) const
{
    handle = parts_->locks.GetHandle<0>(node);
}

void ZeCTransformationNodeManager::GetHandle(const CbSmartPointer<CyNode>& node,
                                             WriteHandle& handle) const
{
    handle = parts_->locks.GetHandle<1>(node);
}

ZeCTransformationNodeManager::ReadHandle
ZeCTransformationNodeManager::GetSingleReadHandleLocked(const ConstNode& node) const
{
    return parts_->locks.GetSingleHandleLocked<0>(node);
}

ZeCTransformationNodeManager::WriteHandle
ZeCTransformationNodeManager::GetSingleWriteHandleLocked(const Node& node) const
{
    return parts_->locks.GetSingleHandleLocked<1>(node);
}

ZeCTransformationNodeManager::CheckReturn ZeCTransformationNodeManager::TryLock() const
{
    auto status = CyDataManager::eGeneralError;
    return parts_->locks.TryLockAndWait(0, status);
}

ZeCTransformationNodeManager::CheckReturn
ZeCTransformationNodeManager::TryLockAndWait(unsigned int milliseconds) const
{
    auto status = CyDataManager::eGeneralError;
    return TryLockAndWait(milliseconds, status);
}

ZeCTransformationNodeManager::CheckReturn
ZeCTransformationNodeManager::TryLockAndWait(unsigned int milliseconds,
                                             CyDataManager::ELockStatus& status) const
{
    return parts_->locks.TryLockAndWait(milliseconds, status);
}

void ZeCTransformationNodeManager::Lock() const { parts_->locks.Lock(); }

bool ZeCTransformationNodeManager::IsReadLocked(const ConstNode& node) const
{
    return parts_->locks.IsLocked(node, false);
}

bool ZeCTransformationNodeManager::IsWriteLocked(const Node& node) const
{
    return parts_->locks.IsLocked(node, true);
}

bool ZeCTransformationNodeManager::IsNotManagedOrReadLocked(const ConstNode& node) const
{
    return parts_->locks.IsNotManagedOrLocked(node, false);
}

bool ZeCTransformationNodeManager::IsNotManagedOrWriteLocked(const Node& node) const
{
    return parts_->locks.IsNotManagedOrLocked(node, true);
}

// Consistency.

ZeCTransformationNodeManager::CheckReturn
ZeCTransformationNodeManager::IsValid(const ConstNode& node) const noexcept
{
    return parts_->checks.IsValid(node);
}

ZeCTransformationNodeManager::CheckReturn ZeCTransformationNodeManager::IsValid() const noexcept
{
    return parts_->checks.IsValid();
}

ZeCTransformationNodeManager::CheckReturn
ZeCTransformationNodeManager::checkRecursivelyNodesInDataManager(
    CbSmartPointer<const CyNode> dataNode) const noexcept
{
    return parts_->checks.CheckRecursivelyNodesInDataManager(std::move(dataNode));
}

void ZeCTransformationNodeManager::dump(CbStreamWriteASCII& stream) const
{
    const CbCriticalSectionLock lock(section_);
    parts_->checks.Dump(stream);
}
