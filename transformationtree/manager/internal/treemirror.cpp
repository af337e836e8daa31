#include "transformationtree/manager/internal/treemirror.h"

#include "platform/base/cbexception.h"
#include "transformationtree/manager/internal/refusednodes.h"
#include "transformationtree/nodes/internal/fixedplaces.h"

#include <utility>

bool TreeMirror::SetDataManager(CyDataManager& dataManager, CbSmartPointer<CyNode> node)
{
    const CbCriticalSectionLock lock(section_);
    if (dataManager_.load() != nullptr || !node || node->GetDataManager() != &dataManager) {
        return false;
    }
    dataManager_ = &dataManager;
    dataManagerNode_ = std::move(node);
    return true;
}

bool TreeMirror::UnsetDataManager()
{
    CbSmartPointer<CyNode> node; // goes after the section is left
    const CbCriticalSectionLock lock(section_);
    if (root_) return false;
    dataManager_ = nullptr;
    node.Swap(dataManagerNode_);
    return true;
}

void TreeMirror::RequireNewRoot(const InnerPointer& node) const
{
    constexpr const char* function = "ZeCTransformationNodeManager::SetRootNode";
    const CbCriticalSectionLock lock(section_);
    if (!node || node->GetFather() || IsInDataManager(node) || root_) {
        throw CbException(FixedPlaces::c_rootNotSettable.file, FixedPlaces::c_rootNotSettable.line,
                          function,
                          !node               ? "the root is null"
                          : root_             ? "a root is set already"
                          : node->GetFather() ? "the node has a father"
                                              : "the node is in a data manager already");
    }
    if (!dataManagerNode_ || dataManagerNode_->GetDataManager() != dataManager_.load()) {
        throw CbException(
            FixedPlaces::c_noPlaceForRoot.file, FixedPlaces::c_noPlaceForRoot.line, function,
            !dataManagerNode_ ? "no data manager is set" : "the data manager's node has left it");
    }
}

void TreeMirror::SetRoot(const InnerPointer& root)
{
    const CbCriticalSectionLock lock(section_);
    // Nothing can be refused: RequireNewRoot() has looked at both nodes.
    dataManager_.load()->InsertNode(dataManagerNode_, root).Acknowledge();
    root_ = root;
    rootAddress_ = root.Get();
}

void TreeMirror::ForgetRoot() noexcept
{
    InnerPointer root; // goes after the section is left
    const CbCriticalSectionLock lock(section_);
    root.Swap(root_);
    rootAddress_ = nullptr;
}

InnerPointer TreeMirror::GetRoot() const
{
    const CbCriticalSectionLock lock(section_);
    return root_;
}

bool TreeMirror::IsRootInPlace() const
{
    return !root_ || (IsInDataManager(root_) && root_->GetParent() == dataManagerNode_);
}

void TreeMirror::addNodeToDataManager(CyDataManager& dataManager, ZeCTransformationNode& node)
{
    // Without a father in the data manager there is nothing to hang the node below.
    const InnerPointer father = node.GetFather();
    // A node that is in the data manager already, since it was refused once, stays where it is.
    if (IsInDataManager(father)) dataManager.InsertNode(father, NodePointer(&node)).Acknowledge();
}

void TreeMirror::AddNodesToDataManager(const BorrowedNodes& nodes)
{
    CyDataManager* const dataManager = dataManager_.load();
    if (dataManager == nullptr) return;
    for (ZeCTransformationNode* const node : nodes) addNodeToDataManager(*dataManager, *node);
}

void TreeMirror::TakeOutOfDataManager(CyNodeView nodes, RefusedNodes& refused) noexcept
{
    CyDataManager* const dataManager = dataManager_.load();
    const auto isIn = [&](const CyNode& node) { return node.GetDataManager() == dataManager; };
    // A data manager that has no node of the tree may be gone by now.
    if (dataManager == nullptr || nodes.Find(isIn) == nullptr) return;
    const std::size_t number = dataManager->RemoveNodes(nodes);
    if (number != 0) refused.Add(nodes.Find(isIn), number);
}

void TreeMirror::MoveInDataManager(CyNodeView nodes, const InnerPointer& newFather,
                                   RefusedNodes& refused) noexcept
{
    CyDataManager* const dataManager = dataManager_.load();
    const std::size_t number = dataManager->MoveNodes(nodes, newFather);
    // The first one that is not where it should be, for the warning.
    const auto isElsewhere = [&](const CyNode& node) {
        return node.GetDataManager() == dataManager && node.GetParent() != newFather;
    };
    if (number != 0) refused.Add(nodes.Find(isElsewhere), number);
}
