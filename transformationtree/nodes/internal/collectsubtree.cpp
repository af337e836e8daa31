#include "transformationtree/nodes/internal/collectsubtree.h"

#include "transformationtree/nodes/internal/subtreewalk.h"

#include <algorithm>

namespace
{

template<class Pointer, EDirection direction>
std::vector<Pointer> collect(ZeCTransformationNode& top)
{
    std::vector<Pointer> nodes{Pointer(&top)};
    ZeCTransformationNodeInner* const inner = top.AsInner();
    if (inner == nullptr) return nodes;
    WalkBelow<direction>(
        *inner, [&](ZeCTransformationNode& node, const ZeCTransformationNodeInner& father) {
            if (!node.IsChildOf(father)) return EVisit::Skip;
            nodes.emplace_back(&node);
            return EVisit::Enter;
        });
    return nodes;
}

} // namespace

std::vector<ZeCTransformationNode*> CollectPreOrder(ZeCTransformationNode& top)
{
    return collect<ZeCTransformationNode*, EDirection::Forward>(top);
}

std::vector<CbSmartPointer<ZeCTransformationNode>> CollectPostOrder(ZeCTransformationNode& top)
{
    // Pre-order with the siblings taken backwards is post-order read backwards.
    auto nodes = collect<CbSmartPointer<ZeCTransformationNode>, EDirection::Backward>(top);
    std::reverse(nodes.begin(), nodes.end());
    return nodes;
}
