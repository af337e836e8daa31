#include "transformationtree/manager/internal/insertable.h"

#include "platform/base/cbexception.h"
#include "transformationtree/manager/internal/childlinks.h"
#include "transformationtree/nodes/internal/subtreewalk.h"
#include "transformationtree/nodes/internal/zectransformationnodeaccess.h"

#include <algorithm>
#include <functional>
#include <string>

namespace
{

using Access = ZeCTransformationNodeAccess;

// True if the children's lists lead from `top` to `node`, also by entries whose node has another
// father by now, or walks down would not end. Only if a node at or above `node` may be such an
// entry is it looked for, up to the father of `top`: an entry further up would lead back to `top`
// already.
bool leadsTo(const ZeCTransformationNodeInner& top, const InnerPointer& node)
{
    bool mayBeListed = false;
    for (InnerPointer above = node; above && !top.IsChildOf(*above); above = above->GetFather()) {
        if (above.Get() == &top) return true;
        mayBeListed = mayBeListed || Access::MayBeStale(*above);
    }
    return mayBeListed && WalkBelow(top, [&](const auto& below, const auto& /*father*/) {
                              return &below == node.Get() ? EVisit::Stop : EVisit::Enter;
                          }) != nullptr;
}

// The node and those above it, sorted by address. Empty if entries may list one of them elsewhere.
BorrowedNodes collectUpwards(const InnerPointer& node)
{
    BorrowedNodes nodes;
    for (InnerPointer above = node; above; above = above->GetFather()) {
        if (Access::MayBeStale(*above)) return {};
        nodes.push_back(above.Get());
    }
    std::sort(nodes.begin(), nodes.end(), std::less<>{});
    return nodes;
}

// @param atOrAboveFather what collectUpwards() gives; empty to find out for this child alone
void requireInsertable(const InnerPointer& father, const NodePointer& child,
                       const TreeMirror& mirror, const EditPlace& place,
                       const BorrowedNodes& atOrAboveFather)
{
    const auto require = [&](bool condition, const char* otherwise) {
        if (condition) return;
        const std::string node = child ? ": " + child->GetID().ToString().ToUtf8() : std::string();
        throw CbException(place.file, place.line, place.function, otherwise + node);
    };
    require(father != nullptr, "the father is null");
    require(child != nullptr, "the child is null");
    const ZeCTransformationNodeInner* const inner = child->AsInner();
    if (inner == nullptr) return;
    require(inner != father.Get(), "the node would be its own father");
    const auto wouldBeBelowItself = [&] {
        if (atOrAboveFather.empty()) return leadsTo(*inner, father);
        return Contains(atOrAboveFather, child.Get());
    };
    // Nothing can stand below a childless node, so deep chains are built without looking up.
    require(inner->GetNrChildren() == 0 || !wouldBeBelowItself(),
            "the node would stand below itself");
    require(!mirror.IsRoot(*inner), "the manager's root can't be a child");
}

} // namespace

bool Contains(const BorrowedNodes& sorted, const ZeCTransformationNode* node)
{
    return std::binary_search(sorted.begin(), sorted.end(), node, std::less<>{});
}

void RequireInsertable(const InnerPointer& father, const NodePointer& child,
                       const TreeMirror& mirror, const EditPlace& place)
{
    requireInsertable(father, child, mirror, place, {});
}

BorrowedNodes RequireAllInsertable(const InnerPointer& father,
                                   const std::vector<NodePointer>& nodes, const TreeMirror& mirror,
                                   const EditPlace& place)
{
    // One climb for all of them, if one needs it.
    const bool anyHasChildren =
        std::any_of(nodes.begin(), nodes.end(),
                    [](const NodePointer& node) { return node && HasChildren(*node); });
    const BorrowedNodes atOrAboveFather = anyHasChildren ? collectUpwards(father) : BorrowedNodes{};
    for (const NodePointer& node : nodes) {
        requireInsertable(father, node, mirror, place, atOrAboveFather);
    }
    // By address, which is quicker if nodes lie scattered.
    BorrowedNodes sorted;
    sorted.reserve(nodes.size());
    for (const NodePointer& node : nodes) sorted.push_back(node.Get());
    std::sort(sorted.begin(), sorted.end(), std::less<>{});
    const auto twice = std::adjacent_find(sorted.begin(), sorted.end());
    if (twice != sorted.end()) {
        throw CbException(place.file, place.line, place.function,
                          "node " + (*twice)->GetID().ToString().ToUtf8() + " is named twice");
    }
    return sorted;
}
