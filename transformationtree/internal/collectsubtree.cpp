#include "transformationtree/internal/collectsubtree.h"

#include "transformationtree/internal/subtreewalk.h"

#include <algorithm>

namespace
{

template<EDirection direction>
std::vector<ZeCTransformationNode*> collect(ZeCTransformationNode& top)
{
    std::vector<ZeCTransformationNode*> nodes{&top};
    if (top.IsLeaf()) return nodes;
    WalkBelow<direction>(
        static_cast<ZeCTransformationNodeInner&>(top),
        [&](ZeCTransformationNode& node, const ZeCTransformationNodeInner& father) {
            if (!node.IsChildOf(father)) return EVisit::Skip;
            nodes.push_back(&node);
            return EVisit::Enter;
        });
    return nodes;
}

} // namespace

std::vector<ZeCTransformationNode*> CollectPreOrder(ZeCTransformationNode& top)
{
    return collect<EDirection::Forward>(top);
}

std::vector<ZeCTransformationNode*> CollectPostOrder(ZeCTransformationNode& top)
{
    // Pre-order with the siblings taken backwards is post-order read backwards.
    auto nodes = collect<EDirection::Backward>(top);
    std::reverse(nodes.begin(), nodes.end());
    return nodes;
}
