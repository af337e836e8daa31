// Edits of one child, and the root. Those of many children are in the source beside this one.
//
// What an edit does with a node depends on where it comes from and where it goes to. A node that
// takes the place of another one always leaves the data manager and comes in anew; else:
//
//     from \ to       outside             in the data manager
//     outside         link                link, then the mirror adds the subtree
//     inside          take out, link      link, then the mirror moves one data node
//
// Nodes are collected before the first change, since afterwards the lists that lead to them are
// others, and memory might run out half-way.

#include "transformationtree/manager/internal/structureedits.h"

#include "platform/base/cbexception.h"
#include "transformationtree/manager/internal/childlinks.h"
#include "transformationtree/manager/internal/refusednodes.h"
#include "transformationtree/nodes/internal/collectsubtree.h"
#include "transformationtree/nodes/internal/fixedplaces.h"
#include "transformationtree/nodes/internal/subtreewalk.h"
#include "transformationtree/nodes/internal/zectransformationnodeaccess.h"

#include <utility>

namespace
{

using Access = ZeCTransformationNodeAccess;

constexpr unsigned int c_allRevisions = ZeCTransformationNode::c_allRevisions;

} // namespace

void StructureEdits::SetRootNode(const InnerPointer& root)
{
    const CbCriticalSectionLock lock(section_);
    registry_.LogIDMap("SetRootNode enter");
    mirror_.RequireNewRoot(root);
    BorrowedNodes nodes = CollectPreOrder(*root);
    // A tree that was read from a stream is not registered yet. This is the last step that may
    // run out of memory.
    registry_.RegisterNodes(nodes);
    mirror_.SetRoot(root);
    nodes.erase(nodes.begin()); // the root itself
    mirror_.AddNodesToDataManager(nodes);
    registry_.LogIDMap("SetRootNode exit");
}

void StructureEdits::UnsetRootNode()
{
    InnerPointer root; // goes after the section is left, as do those below it
    std::vector<NodePointer> below;
    RefusedNodes refused(CB_HERE);
    const CbCriticalSectionLock lock(section_);
    root = mirror_.GetRoot();
    if (!root) return;
    registry_.LogIDMap("UnsetRootNode enter");
    // A root that its data manager has given up is not guarded by any lock.
    if (IsInDataManager(root) && !mirror_.GetDataManager()->IsLocked(*root, true)) return;
    below = CollectPostOrder(*root);
    below.pop_back(); // the root itself, whose revisions stay
    removeNodesFromDataManager(below, refused);
    mirror_.TakeOutOfDataManager(CyNodeView(root), refused);
    for (const NodePointer& node : below) takeApart(*node);
    takeApart(*root);
    mirror_.ForgetRoot();
    registry_.LogIDMap("UnsetRootNode exit");
}

BorrowedNodes StructureEdits::collectComingIn(const InnerPointer& father, const NodePointer& child)
{
    return IsInDataManager(father) ? CollectPreOrder(*child) : BorrowedNodes{};
}

void StructureEdits::InsertChild(const InnerPointer& father, std::size_t index,
                                 const NodePointer& insertedChild)
{
    const EditPlace place{FixedPlaces::c_childNotInsertable.file,
                          FixedPlaces::c_childNotInsertable.line,
                          "ZeCTransformationNodeManager::InsertChild"};
    const NodePointer child = insertedChild; // may be a reference into the children
    RequireInsertable(father, child, mirror_, place);
    if (child->IsChildOf(*father)) return;
    if (child->GetFather()) {
        throw CbException(place.file, place.line, place.function,
                          "node " + child->GetID().ToString().ToUtf8() + " has a father");
    }
    const BorrowedNodes comingIn = collectComingIn(father, child);
    InsertLinked(father, index, child);
    mirror_.AddNodesToDataManager(comingIn);
    father->NewNodeRevision(c_allRevisions);
}

void StructureEdits::InsertChild(const InnerPointer& father, const ConstNodePointer& before,
                                 const NodePointer& child)
{
    InsertChild(father, father ? IndexOf(*father, before.Get()) : 0, child);
}

void StructureEdits::AppendChild(const InnerPointer& father, const NodePointer& child, bool atEnd)
{
    InsertChild(father, father && atEnd ? father->GetNrChildren() : 0, child);
}

void StructureEdits::RemoveChild(const InnerPointer& father, const NodePointer& child)
{
    if (!father) return;
    const auto number = static_cast<std::size_t>(father->GetNrChildren());
    // The last one is found at once: whoever empties a list from the back stays linear.
    const bool isLast = child && child == father->BackChild();
    const std::size_t index = isLast ? number - 1 : IndexOf(*father, child.Get());
    if (index != number) removeChild(father, index);
}

void StructureEdits::removeChild(const InnerPointer& father, std::size_t index)
{
    RefusedNodes refused(CB_HERE);
    ZeCChildList& children = Access::GetChildren(*father);
    const NodePointer child = (*children)[index]; // keeps what leaves until the edit is done
    const bool own = child && child->IsChildOf(*father);
    if (own && IsInDataManager(child)) {
        // A node without children needs no list of what is below it, and so no memory.
        HasChildren(*child) ? removeNodesFromDataManager(CollectPostOrder(*child), refused)
                            : mirror_.TakeOutOfDataManager(CyNodeView(child), refused);
    }
    children.Erase(index);
    if (own) Access::SetFather(*child, nullptr);
    father->NewNodeRevision(c_allRevisions);
}

void StructureEdits::ReplaceChild(const InnerPointer& father, const NodePointer& oldChild,
                                  const NodePointer& newChild)
{
    putInPlace(father, oldChild, newChild, EPlacing::Replace);
}

void StructureEdits::ExchangeChild(const InnerPointer& father, const NodePointer& oldChild,
                                   const NodePointer& newChild)
{
    putInPlace(father, oldChild, newChild, EPlacing::Exchange);
}

void StructureEdits::putInPlace(const InnerPointer& father, const NodePointer& oldChild,
                                const NodePointer& newChild, EPlacing placing)
{
    const bool replace = placing == EPlacing::Replace;
    const EditPlace place{__FILE__, __LINE__,
                          replace ? "ZeCTransformationNodeManager::ReplaceChild"
                                  : "ZeCTransformationNodeManager::ExchangeChild"};
    const NodePointer old = oldChild; // may be a reference into the children
    const NodePointer child = newChild;
    if (!father) throw CbException(place.file, place.line, place.function, "the father is null");
    std::size_t index = IndexOf(*father, old.Get());
    if (index == father->GetNrChildren() || child == old) return;
    RequireInsertable(father, child, mirror_, place);
    const bool own = old && old->IsChildOf(*father);
    if (child->IsChildOf(*father) || (replace && own && IsAtOrBelow(*child, *old))) {
        throw CbException(place.file, place.line, place.function,
                          "the new child is the father's already, or below the old child: " +
                              child->GetID().ToString().ToUtf8());
    }

    const BorrowedNodes comingIn = collectComingIn(father, child);
    // A stale entry is only overwritten: its node, and what is below, belong to another father.
    const bool oldManaged = own && IsInDataManager(old);
    std::vector<NodePointer> leaving;
    std::vector<NodePointer> oldNodes;
    if (IsInDataManager(child)) leaving = CollectPostOrder(*child);
    if (oldManaged || (own && replace)) oldNodes = CollectPostOrder(*old);
    RefusedNodes refused(CB_HERE);
    if (replace) registry_.RegisterNodes(comingIn); // the last step that can run out of memory
    if (own) {
        if (oldManaged) removeNodesFromDataManager(oldNodes, refused);
        Access::SetFather(*old, nullptr);
        if (replace) {
            // Below a father that is outside there may be data nodes that were refused once.
            if (!oldManaged) mirror_.TakeOutOfDataManager(CyNodeView(oldNodes), refused);
            for (const NodePointer& node : oldNodes) {
                if (!node->IsLeaf()) node->NewNodeRevision(c_allRevisions);
                takeApart(*node);
            }
        }
    }
    // It may have stood below the old child, and have left with it.
    if (IsInDataManager(child)) removeNodesFromDataManager(leaving, refused);
    EraseStaleEntry(*father, *child, index);
    Access::GetChildren(*father).Replace(index, child); // its old father goes on listing it
    Access::SetFather(*child, father);
    mirror_.AddNodesToDataManager(comingIn);
    father->NewNodeRevision(c_allRevisions);
}

void StructureEdits::MoveNode(const InnerPointer& newFather, const NodePointer& movedNode,
                              const ConstNodePointer& beforeNode)
{
    const NodePointer node = movedNode; // may be a reference into the children
    const ConstNodePointer before = beforeNode;
    RequireInsertable(newFather, node, mirror_,
                      {__FILE__, __LINE__, "ZeCTransformationNodeManager::MoveNode"});
    const InnerPointer oldFather = node->GetFather();
    const bool stays = oldFather == newFather;
    const bool managed = IsInDataManager(newFather) && mirror_.GetDataManager() != nullptr;
    const bool comesIn = managed && !IsInDataManager(node);
    const BorrowedNodes comingIn = comesIn ? CollectPreOrder(*node) : BorrowedNodes{};
    RefusedNodes refused(CB_HERE);
    const std::size_t oldIndex = oldFather ? IndexOf(*oldFather, node.Get()) : 0;
    if (!stays) ReserveMore(Access::GetChildren(*newFather), 1);

    // The mirror moves the data node at the end, so here it only leaves its father's list.
    if (oldFather && managed) {
        // Nothing to erase if the father does not list the node.
        if (oldIndex < oldFather->GetNrChildren()) {
            Access::GetChildren(*oldFather).Erase(oldIndex);
        }
        Access::SetFather(*node, nullptr);
        oldFather->NewNodeRevision(c_allRevisions);
    } else if (oldFather) {
        RemoveChild(oldFather, node);
    }
    // Looked up now that the node has left its old place. In front of itself is where it was.
    std::size_t index = IndexOf(*newFather, before.Get());
    if (before == node) index = stays ? oldIndex : newFather->GetNrChildren();
    InsertLinked(newFather, index, node);
    newFather->NewNodeRevision(c_allRevisions);
    if (comesIn) {
        mirror_.AddNodesToDataManager(comingIn);
    } else if (managed) {
        mirror_.MoveInDataManager(CyNodeView(node), newFather, refused);
    }
}

void StructureEdits::AddSubtreeToDataManager(const NodePointer& node)
{
    if (!node) return;
    const BorrowedNodes nodes = CollectPreOrder(*node);
    registry_.RegisterNodes(nodes);
    mirror_.AddNodesToDataManager(nodes);
}

void StructureEdits::removeNodesFromDataManager(const std::vector<NodePointer>& nodes,
                                                RefusedNodes& refused)
{
    for (const NodePointer& node : nodes) EraseStaleEntries(*node);
    mirror_.TakeOutOfDataManager(CyNodeView(nodes), refused);
}

void StructureEdits::takeApart(ZeCTransformationNode& node)
{
    registry_.DeleteNode(node);
    CutLinks(node);
}
