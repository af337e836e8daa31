// The walks that begin at an inner node, and what is found by them.

#include "transformationtree/nodes/internal/subtreewalk.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"
#include "transformationtree/nodes/zectransformationnodeleaf.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <algorithm>

namespace
{

// Walks are offered by const nodes and deliver nodes that may be edited: access is ruled by
// handles.
CbSmartPointer<ZeCTransformationNodeInner> editable(const ZeCTransformationNodeInner* node)
{
    return CbSmartPointer<ZeCTransformationNodeInner>(
        const_cast<ZeCTransformationNodeInner*>(node));
}

// A visitor of walks that end at the first node that fulfils a condition.
template<class Condition>
auto stopAt(Condition condition)
{
    return [condition](const ZeCTransformationNode& node, const auto& /*father*/) {
        return condition(node) ? EVisit::Stop : EVisit::Enter;
    };
}

constexpr auto isLeaf = [](const ZeCTransformationNode& node) { return node.IsLeaf(); };

} // namespace

ZeCTransformationNode::ZeNNodeIterator ZeCTransformationNodeInner::BeginNode() const
{
    return {editable(this), true};
}

ZeCTransformationNode::ZeNNodeIterator ZeCTransformationNodeInner::EndNode() const
{
    return {editable(this), false};
}

ZeCTransformationNode::ZeNNodeIterator ZeCTransformationNodeInner::LastNode() const
{
    ZeNNodeIterator last = EndNode();
    last.descendToLast(); // from the root, which an empty path means
    last.atRoot_ = last.path_.IsEmpty();
    return last;
}

CbSmartPointer<ZeCTransformationNode> ZeCTransformationNodeInner::BackNode() const
{
    // Straight down the right side, without a path.
    ZeCTransformationNode* last = editable(this).Get();
    while (const ZeCTransformationNodeInner* const inner = last->AsInner()) {
        const auto& children = *inner->children_;
        const auto child = std::find_if(children.rbegin(), children.rend(),
                                        [](const auto& entry) { return entry != nullptr; });
        if (child == children.rend()) break;
        last = child->Get();
    }
    return CbSmartPointer<ZeCTransformationNode>(last);
}

ZeCTransformationNode::ZeNLeafNodeIterator ZeCTransformationNodeInner::BeginLeaf() const
{
    // Begins on the root, at which it does not stop, so that one step finds the first leaf.
    ZeNLeafNodeIterator first(editable(this), true);
    ++first;
    return first;
}

ZeCTransformationNode::ZeNLeafNodeIterator ZeCTransformationNodeInner::EndLeaf() const
{
    return {editable(this), false};
}

ZeCTransformationNode::ZeNLeafNodeIterator ZeCTransformationNodeInner::LastLeaf() const
{
    ZeNLeafNodeIterator last = EndLeaf();
    last.descendToLast();
    if (!last) --last;
    return last;
}

CbSmartPointer<ZeCTransformationNodeLeaf> ZeCTransformationNodeInner::FrontLeaf() const
{
    auto* const leaf = WalkBelow(*editable(this), stopAt(isLeaf));
    return CbSmartPointer<ZeCTransformationNodeLeaf>(static_cast<ZeCTransformationNodeLeaf*>(leaf));
}

CbSmartPointer<ZeCTransformationNodeLeaf> ZeCTransformationNodeInner::BackLeaf() const
{
    auto* const leaf = WalkBelow<EDirection::Backward>(*editable(this), stopAt(isLeaf));
    return CbSmartPointer<ZeCTransformationNodeLeaf>(static_cast<ZeCTransformationNodeLeaf*>(leaf));
}

unsigned long long ZeCTransformationNodeInner::GetNrLeafNodes() const
{
    unsigned long long number = 0;
    WalkBelow(*this, [&](const ZeCTransformationNode& node, const auto& /*father*/) {
        number += node.IsLeaf() ? 1 : 0;
        return EVisit::Enter;
    });
    return number;
}

ZeCTransformationNode::ZeNCachedLeafNodeIterator ZeCTransformationNodeInner::BeginCachedLeaf() const
{
    ZeNCachedLeafNodeIterator first = EndCachedLeaf();
    first.descendToFirstCached();
    if (!first) ++first; // the descent ended at an inner node without children
    return first;
}

ZeCTransformationNode::ZeNCachedLeafNodeIterator ZeCTransformationNodeInner::EndCachedLeaf() const
{
    return {editable(this), false};
}

ZeCTransformationNode::ZeNCachedLeafNodeIterator ZeCTransformationNodeInner::LastCachedLeaf() const
{
    ZeNCachedLeafNodeIterator last = EndCachedLeaf();
    last.descendToLastCached();
    if (!last) --last;
    return last;
}

CbSmartPointer<ZeCTransformationNode> ZeCTransformationNodeInner::FrontCachedLeaf() const
{
    const auto isCached = [](const ZeCTransformationNode& node) { return node.isCachedLeaf(); };
    return CbSmartPointer<ZeCTransformationNode>(WalkBelow(*editable(this), stopAt(isCached)));
}

CbSmartPointer<ZeCTransformationNode> ZeCTransformationNodeInner::BackCachedLeaf() const
{
    const auto isCached = [](const ZeCTransformationNode& node) { return node.isCachedLeaf(); };
    return CbSmartPointer<ZeCTransformationNode>(
        WalkBelow<EDirection::Backward>(*editable(this), stopAt(isCached)));
}

unsigned long long ZeCTransformationNodeInner::GetNrCachedLeafNodes() const
{
    unsigned long long number = 0;
    WalkBelow(*this, [&](const ZeCTransformationNode& node, const auto& /*father*/) {
        if (!node.isCachedLeaf()) return EVisit::Enter;
        ++number;
        return EVisit::Skip;
    });
    return number;
}

ZeCTransformationNode::ZeNSurfelIterator ZeCTransformationNodeInner::BeginSurfel() const
{
    return ZeNSurfelIterator(BeginLeaf());
}

ZeCTransformationNode::ZeNRandomAccessSurfelIterator ZeCTransformationNodeInner::GetRas() const
{
    // Reads each leaf through operator*, which refuses singular transformations.
    ZeNRandomAccessSurfelIterator surfels;
    for (auto leaf = BeginLeaf(); leaf; ++leaf) {
        const ZeCTransformationNodeWithTrafo delivered = *leaf;
        surfels.append(*delivered.GetNode(), delivered.GetTrafo());
    }
    return surfels;
}

ZeCTransformationNode::ZeNRandomSamplingSurfelIterator
ZeCTransformationNodeInner::BeginRss(int k) const
{
    return {GetRas(), k};
}

ZeCTransformationNode::ZeNInnerNodeIterator ZeCTransformationNodeInner::BeginInner() const
{
    return {editable(this), true};
}

ZeCTransformationNode::ZeNInnerNodeIterator ZeCTransformationNodeInner::EndInner() const
{
    return {editable(this), false};
}

ZeCTransformationNode::ZeNInnerNodeIterator ZeCTransformationNodeInner::LastInner() const
{
    ZeNInnerNodeIterator last = EndInner();
    last.descendToLast();
    last.atRoot_ = last.path_.IsEmpty();
    if (!last) --last;
    return last;
}

ZeCTransformationNode::ZeNNodeIterator
ZeCTransformationNodeInner::Find(const CbSmartPointer<ZeCTransformationNode>& node) const
{
    std::vector<CbSmartPointer<ZeCTransformationNode>> path; // from the node up
    for (auto step = node; step.Get() != this; step = step->GetFather()) {
        if (!step) return EndNode();
        path.push_back(step);
    }
    ZeNNodeIterator found = BeginNode();
    found.atRoot_ = path.empty();
    const ZeCTransformationNodeInner* father = this;
    for (auto step = path.rbegin(); step != path.rend(); ++step) {
        const auto& children = *father->children_;
        const auto position = father->FindChild(*step);
        if (position == children.end()) return EndNode();
        found.push(&*position, children.data() + children.size());
        father = (*step)->AsInner(); // null for a leaf, which only the last one can be
    }
    return found;
}

ZeCTransformationNode::ZeNLeafNodeIterator
ZeCTransformationNodeInner::Find(const CbSmartPointer<ZeCTransformationNodeLeaf>& leaf) const
{
    // The same path, seen as that of a leaf iterator.
    ZeNLeafNodeIterator found = EndLeaf();
    ZeNNodeIterator& position = found;
    position = Find(CbSmartPointer<ZeCTransformationNode>(leaf));
    return found;
}

bool ZeCTransformationNodeInner::EmptyLeafs() const { return !FrontLeaf(); }

CyBoundingBox3D ZeCTransformationNodeInner::GetBoundingBox(const CbMatrix4Rd& trafo) const
{
    // Leaves give their boxes in their own frames, whatever matrix they get.
    const CbMatrix4Rf rootToResult = ToFloat(trafo);
    CyBoundingBox3D result;
    for (const auto& [leaf, leafToRoot] : Leaves()) {
        CyBoundingBox3D box = leaf.GetBoundingBox(c_matIdentityD);
        box.Transform(Compose(ToFloat(leafToRoot), rootToResult));
        result.Extend(box);
    }
    return result;
}
