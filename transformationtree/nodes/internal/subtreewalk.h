#pragma once

#include "transformationtree/nodes/zectransformationnodeinner.h"

#include <type_traits>
#include <vector>

/// What a visitor of WalkBelow() wants next.
enum class EVisit
{
    Enter, ///< go on with the children of the visited node
    Skip,  ///< go on behind the visited node's subtree
    Stop   ///< end the walk here
};

/// The order in which WalkBelow() takes siblings.
enum class EDirection
{
    Forward,
    Backward
};

/// True if @p node is @p top or stands below it.
[[nodiscard]] inline bool IsAtOrBelow(const ZeCTransformationNode& node,
                                      const ZeCTransformationNode& top)
{
    if (&node == &top) return true;
    auto above = node.GetFather();
    while (above && above.Get() != &top) above = above->GetFather();
    return above != nullptr;
}

/// Visits the nodes below @p top depth-first, fathers before children, without transformations and
/// without recursion. @p visit gets each node, and the inner node that lists it, and returns an
/// EVisit. Null children are passed over.
/// Returns the node at which the visitor stopped, or null.
template<EDirection direction = EDirection::Forward, class Inner, class Visit>
auto WalkBelow(Inner& top, Visit&& visit)
{
    using Node = std::conditional_t<std::is_const_v<Inner>, const ZeCTransformationNode,
                                    ZeCTransformationNode>;
    using Child = const CbSmartPointer<ZeCTransformationNode>*;
    struct Level
    {
        Inner* father;
        Child next;
        Child end;
    };
    std::vector<Level> path;
    const auto enter = [&](Inner& inner) {
        if (inner.GetNrChildren() == 0) return;
        const Child first = &*inner.BeginChild();
        path.push_back({&inner, first, first + inner.GetNrChildren()});
    };
    enter(top);
    while (!path.empty()) {
        Level& level = path.back();
        if (level.next == level.end) {
            path.pop_back();
            continue;
        }
        const Child child = direction == EDirection::Forward ? level.next++ : --level.end;
        Node* const node = child->Get();
        if (node == nullptr) continue;
        switch (visit(*node, *level.father)) {
        case EVisit::Enter:
            if (Inner* const inner = node->AsInner()) enter(*inner);
            break;
        case EVisit::Skip:
            break;
        case EVisit::Stop:
            return node;
        }
    }
    return static_cast<Node*>(nullptr);
}
