#pragma once

#include "transformationtree/nodes/zectransformationnodeinner.h"

/// What the node manager's parts do with nodes and nobody else may: nodes have this one friend for
/// all of them.
///
/// Threads: as edits and reads of the node, but for GetLoggedDescription(), which is always safe.
class ZeCTransformationNodeAccess
{
public:
    ZeCTransformationNodeAccess() = delete;

    [[nodiscard]] static ZeCChildList& GetChildren(ZeCTransformationNodeInner& inner) noexcept
    {
        return inner.children_;
    }
    /// Links a node to its father, whose list stays as it is.
    static void SetFather(ZeCTransformationNode& node,
                          const CbSmartPointer<ZeCTransformationNodeInner>& father) noexcept
    {
        node.setFather(father);
    }
    /// True if the node has a father; quicker than GetFather().
    [[nodiscard]] static bool HasFather(const ZeCTransformationNode& node) noexcept
    {
        return node.father_.GetAddress() != nullptr;
    }
    /// True if another node than its father may list the node.
    [[nodiscard]] static bool MayBeStale(const ZeCTransformationNode& node) noexcept
    {
        return node.mayBeStale();
    }
    /// The description, for log messages of threads that have no lock on the node.
    [[nodiscard]] static CString GetLoggedDescription(const ZeCTransformationNode& node)
    {
        return node.getLoggedDescription();
    }
};
