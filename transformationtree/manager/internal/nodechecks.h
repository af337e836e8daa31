#pragma once

#include "transformationtree/manager/internal/nodelocks.h"
#include "transformationtree/manager/internal/noderegistry.h"

class CbStreamWriteASCII;

/// Whether ids, links and mirror agree, and the tree as text. Changes and repairs nothing.
///
/// Threads: no other thread may create or delete nodes, set or unset the root, or edit trees
/// outside the data manager meanwhile. Sections: the data manager's own alone; whoever dumps holds
/// the manager's.
class NodeChecks
{
public:
    using CheckReturn = NodeLocks::CheckReturn;

    /// All of them outlive this.
    NodeChecks(const NodeRegistry& registry, const TreeMirror& mirror,
               const NodeLocks& locks) noexcept
        : registry_(registry), mirror_(mirror), locks_(locks)
    {}

    /// Says what ZeCTransformationNodeManager::IsValid() does.
    [[nodiscard]] CheckReturn IsValid(const ConstNodePointer& node) const noexcept;
    [[nodiscard]] CheckReturn IsValid() const noexcept;
    /// True if the nodes of the data tree at and below @p dataNode are readable nodes of trees.
    [[nodiscard]] CheckReturn
    CheckRecursivelyNodesInDataManager(CbSmartPointer<const CyNode> dataNode) const noexcept;
    /// Writes what ZeCTransformationNodeManager::dump() does.
    void Dump(CbStreamWriteASCII& stream) const;

private:
    [[nodiscard]] CheckReturn checkIsNodeConsistent(const ConstNodePointer& node) const;
    [[nodiscard]] CheckReturn checkIsFatherAndChildConsistent(const InnerPointer& father,
                                                              const ConstNodePointer& child) const;
    [[nodiscard]] bool isReadable(const ConstNodePointer& node) const;
    [[nodiscard]] bool isRegistered(const ZeCTransformationNode& node) const;
    [[nodiscard]] bool areRegisteredNodesValid() const noexcept;

    const NodeRegistry& registry_;
    const TreeMirror& mirror_;
    const NodeLocks& locks_;
};
