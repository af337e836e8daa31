#pragma once

#include "platform/base/cbcriticalsection.h"
#include "platform/datatree/cydatamanager.h"
#include "transformationtree/manager/internal/nodepointers.h"

#include <atomic>

class RefusedNodes;

/// The link to the data manager, the root, and the tree's mirror in the data manager: the root
/// hangs below a node that the application gave, each other node below its father.
///
/// The tree has changed by the time the mirror follows. What the data manager refuses changes
/// nothing in the tree, and is collected as RefusedNodes.
///
/// Threads: link and root are safe. Mirroring is a part of an edit, and as safe as that.
/// Sections: enters the manager's section for link and root; inside it, and without it, that of the
/// data manager.
class TreeMirror
{
public:
    /// @param section the manager's; outlives this
    explicit TreeMirror(CbCriticalSection& section) noexcept : section_(section) {}

    /// Sets the link. False, and nothing changed, if there is one, or if the node is null or not in
    /// that data manager.
    [[nodiscard]] bool SetDataManager(CyDataManager& dataManager, CbSmartPointer<CyNode> node);
    /// Takes the link away. False, and nothing changed, while there is a root.
    [[nodiscard]] bool UnsetDataManager();
    /// The data manager, or null. Enters no section.
    [[nodiscard]] CyDataManager* GetDataManager() const noexcept { return dataManager_.load(); }

    /// Throws CbException if the node can't become the root now.
    void RequireNewRoot(const InnerPointer& node) const;
    /// Hangs a node, for which RequireNewRoot() was asked, below the data manager's node, and makes
    /// it the root.
    void SetRoot(const InnerPointer& root);
    /// There is no root any more. Leaves the data manager alone.
    void ForgetRoot() noexcept;
    [[nodiscard]] InnerPointer GetRoot() const;
    /// Enters no section.
    [[nodiscard]] bool IsRoot(const ZeCTransformationNode& node) const noexcept
    {
        return rootAddress_.load() == &node;
    }
    /// True if there is no root, or if it hangs below the data manager's node. Enters no section:
    /// no other thread may set or unset root or link meanwhile.
    [[nodiscard]] bool IsRootInPlace() const CB_NO_THREAD_SAFETY_ANALYSIS;

    /// Puts each node in below its father, which comes before it. Does nothing without link.
    void AddNodesToDataManager(const BorrowedNodes& nodes);
    /// Takes nodes out, as far as they are in the data manager: children before their fathers.
    void TakeOutOfDataManager(CyNodeView nodes, RefusedNodes& refused) noexcept;
    /// Moves those of the nodes that are in the data manager. There has to be a link.
    void MoveInDataManager(CyNodeView nodes, const InnerPointer& newFather,
                           RefusedNodes& refused) noexcept;

private:
    static void addNodeToDataManager(CyDataManager& dataManager, ZeCTransformationNode& node);

    CbCriticalSection& section_;
    /// Written under the section, read without it.
    std::atomic<CyDataManager*> dataManager_{nullptr};
    CbSmartPointer<CyNode> dataManagerNode_ CB_GUARDED_BY(section_);
    InnerPointer root_ CB_GUARDED_BY(section_);
    /// The root, for comparison without the section.
    std::atomic<const ZeCTransformationNode*> rootAddress_{nullptr};
};
