// Edits of many children in one pass: moving, replacing and deleting are one function.
//
//     MoveNodes         the nodes come behind the father's children
//     ReplaceChildren   the nodes come in the place of the father's children, which are dropped
//     DeleteChildren    the same with no nodes

#include "platform/base/cbexception.h"
#include "transformationtree/manager/internal/childlinks.h"
#include "transformationtree/manager/internal/refusednodes.h"
#include "transformationtree/manager/internal/structureedits.h"
#include "transformationtree/nodes/internal/collectsubtree.h"
#include "transformationtree/nodes/internal/subtreewalk.h"
#include "transformationtree/nodes/internal/zectransformationnodeaccess.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace
{

constexpr unsigned int c_allRevisions = ZeCTransformationNode::c_allRevisions;

// The nodes below a father, but for some, sorted ones, with what is below them; children before
// their father.
std::vector<NodePointer> collectBelow(ZeCTransformationNodeInner& father,
                                      const BorrowedNodes& leftOut)
{
    std::vector<NodePointer> nodes;
    WalkBelow<EDirection::Backward>(
        father, [&](ZeCTransformationNode& child, const ZeCTransformationNodeInner& above) {
            if (!child.IsChildOf(above)) return EVisit::Skip;
            if (Contains(leftOut, &child)) return EVisit::Skip;
            nodes.emplace_back(&child);
            return EVisit::Enter;
        });
    std::reverse(nodes.begin(), nodes.end());
    return nodes;
}

// Each father once, in the order in which the last of its nodes leaves it.
std::vector<InnerPointer> distinctFathers(const std::vector<NodePointer>& nodes)
{
    std::vector<std::pair<InnerPointer, std::size_t>> left; // and when
    for (std::size_t i = nodes.size(); i > 0; --i) {
        const NodePointer& node = nodes[i - 1];
        if (!left.empty() && node->IsChildOf(*left.back().first)) continue;
        if (auto father = node->GetFather()) left.emplace_back(std::move(father), i);
    }
    // Of each father the entry with the latest time comes first, and stays.
    const auto sameFather = [](const auto& a, const auto& b) { return a.first == b.first; };
    std::sort(left.begin(), left.end(), std::greater<>{});
    left.erase(std::unique(left.begin(), left.end(), sameFather), left.end());
    std::sort(left.begin(), left.end(),
              [](const auto& a, const auto& b) { return a.second < b.second; });
    std::vector<InnerPointer> fathers;
    fathers.reserve(left.size());
    for (auto& [father, when] : left) fathers.push_back(std::move(father));
    return fathers;
}

template<class T>
void append(std::vector<T>& to, const std::vector<T>& more)
{
    to.insert(to.end(), more.begin(), more.end());
}

} // namespace

void StructureEdits::MoveNodes(const InnerPointer& newFather, const std::vector<NodePointer>& nodes)
{
    moveNodes(newFather, nodes, EOthers::Keep, "ZeCTransformationNodeManager::MoveNodes");
}

void StructureEdits::ReplaceChildren(const InnerPointer& father,
                                     const std::vector<NodePointer>& children)
{
    moveNodes(father, children, EOthers::Drop, "ZeCTransformationNodeManager::ReplaceChildren");
}

void StructureEdits::DeleteChildren(const InnerPointer& father, const std::function<void()>& first)
{
    if (!father) return;
    moveNodes(father, {}, EOthers::Drop, "ZeCTransformationNodeManager::DeleteChildren", first);
}

void StructureEdits::moveNodes(const InnerPointer& newFather, const std::vector<NodePointer>& nodes,
                               EOthers others, const char* function,
                               const std::function<void()>& first)
{
    const EditPlace place{__FILE__, __LINE__, function};
    if (!newFather) throw CbException(place.file, place.line, place.function, "the father is null");
    const InnerPointer father = newFather; // may be held by what is dropped
    ZeCChildList& children = ZeCTransformationNodeAccess::GetChildren(*father);
    const bool drop = others == EOthers::Drop;
    if (nodes.empty() && (!drop || children->empty())) {
        if (first) first();
        return;
    }
    const BorrowedNodes sorted = RequireAllInsertable(father, nodes, mirror_, place);

    const bool managed = IsInDataManager(father) && mirror_.GetDataManager() != nullptr;
    BorrowedNodes comingIn;
    std::vector<NodePointer> leaving;
    for (const NodePointer& node : nodes) {
        if (managed == IsInDataManager(node)) continue;
        managed ? append(comingIn, CollectPreOrder(*node))
                : append(leaving, CollectPostOrder(*node));
    }
    const std::vector<InnerPointer> oldFathers = distinctFathers(nodes);
    const auto dropped = drop ? collectBelow(*father, sorted) : std::vector<NodePointer>{};
    ZeCChildList replaced; // the old entries, which go when the edit is done
    ReserveMore(drop ? replaced : children, nodes.size());
    RefusedNodes refused(CB_HERE);

    // From here on nothing can fail but `first`, which comes before the first change.
    if (first) first();
    removeNodesFromDataManager(leaving, refused);
    Relink(sorted, oldFathers, father);
    if (drop) replaced.Swap(children);
    children.Append(nodes);
    if (managed) {
        mirror_.MoveInDataManager(CyNodeView(nodes), father, refused);
        mirror_.AddNodesToDataManager(comingIn);
    }
    // After the others have left, since with data nodes below it a node can't.
    mirror_.TakeOutOfDataManager(CyNodeView(dropped), refused);
    // Children come before their fathers, so the revisions are those of single removals.
    for (const NodePointer& node : dropped) {
        if (HasChildren(*node)) node->NewNodeRevision(c_allRevisions);
        takeApart(*node);
    }
    father->NewNodeRevision(c_allRevisions);
}
