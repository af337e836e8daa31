#pragma once

#include "transformationtree/manager/internal/insertable.h"
#include "transformationtree/manager/internal/noderegistry.h"
#include "transformationtree/manager/internal/treemirror.h"

#include <cstddef>
#include <functional>

class RefusedNodes;

/// Edits of the tree's links, with what they mean for mirror and ids. Each operation does what the
/// function of ZeCTransformationNodeManager says that has its name.
///
/// An edit has three steps. It checks, which may throw. It collects the nodes that it will touch
/// and makes room, which may run out of memory. Then it changes links, mirror, ids and revisions,
/// which can't fail.
///
/// Threads: as the manager says: write handles, or one thread at a time. Sections: setting and
/// unsetting the root hold the manager's from end to end; all others enter it only to register or
/// drop ids.
class StructureEdits
{
public:
    /// All of them outlive this.
    StructureEdits(CbCriticalSection& section, NodeRegistry& registry, TreeMirror& mirror) noexcept
        : section_(section), registry_(registry), mirror_(mirror)
    {}

    void SetRootNode(const InnerPointer& root);
    void UnsetRootNode();

    /// @param index in the father's children
    void InsertChild(const InnerPointer& father, std::size_t index, const NodePointer& child);
    void InsertChild(const InnerPointer& father, const ConstNodePointer& before,
                     const NodePointer& child);
    void AppendChild(const InnerPointer& father, const NodePointer& child, bool atEnd);
    void RemoveChild(const InnerPointer& father, const NodePointer& child);
    void ReplaceChild(const InnerPointer& father, const NodePointer& oldChild,
                      const NodePointer& newChild);
    void ExchangeChild(const InnerPointer& father, const NodePointer& oldChild,
                       const NodePointer& newChild);
    void MoveNode(const InnerPointer& newFather, const NodePointer& node,
                  const ConstNodePointer& before);
    void MoveNodes(const InnerPointer& newFather, const std::vector<NodePointer>& nodes);
    void ReplaceChildren(const InnerPointer& father, const std::vector<NodePointer>& children);
    void DeleteChildren(const InnerPointer& father, const std::function<void()>& first);
    void AddSubtreeToDataManager(const NodePointer& node);

private:
    void removeChild(const InnerPointer& father, std::size_t index);
    enum class EPlacing
    {
        Replace,
        Exchange
    };
    void putInPlace(const InnerPointer& father, const NodePointer& oldChild,
                    const NodePointer& newChild, EPlacing placing);
    enum class EOthers
    {
        Keep,
        Drop
    };
    /// @param others what happens to all else that stands below the father
    /// @param first as of DeleteChildren()
    void moveNodes(const InnerPointer& newFather, const std::vector<NodePointer>& nodes,
                   EOthers others, const char* function, const std::function<void()>& first = {});
    /// Erases the entries among the nodes' children that belong to other fathers by now, and takes
    /// the nodes out of the data manager, as far as they are in it: children before their fathers.
    void removeNodesFromDataManager(const std::vector<NodePointer>& nodes, RefusedNodes& refused);
    /// Ends a node that has left the data manager: no id, no links.
    void takeApart(ZeCTransformationNode& node);
    /// What comes into the data manager with a child of this father: nothing if that is not in it.
    [[nodiscard]] static BorrowedNodes collectComingIn(const InnerPointer& father,
                                                       const NodePointer& child);

    CbCriticalSection& section_;
    NodeRegistry& registry_;
    TreeMirror& mirror_;
};
