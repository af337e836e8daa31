// The walks that begin at a leaf stop at that leaf alone.

#include "transformationtree/nodes/zectransformationnodeleaf.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

namespace
{

// Walks are offered by const nodes and deliver nodes that may be edited: access is ruled by
// handles.
CbSmartPointer<ZeCTransformationNodeLeaf> editable(const ZeCTransformationNodeLeaf* leaf)
{
    return CbSmartPointer<ZeCTransformationNodeLeaf>(const_cast<ZeCTransformationNodeLeaf*>(leaf));
}

} // namespace

ZeCTransformationNode::ZeNNodeIterator ZeCTransformationNodeLeaf::BeginNode() const
{
    return {editable(this), true};
}

ZeCTransformationNode::ZeNNodeIterator ZeCTransformationNodeLeaf::LastNode() const
{
    return {editable(this), true};
}

ZeCTransformationNode::ZeNNodeIterator ZeCTransformationNodeLeaf::EndNode() const
{
    return {editable(this), false};
}

ZeCTransformationNode::ZeNLeafNodeIterator ZeCTransformationNodeLeaf::BeginLeaf() const
{
    return {editable(this), true};
}

ZeCTransformationNode::ZeNLeafNodeIterator ZeCTransformationNodeLeaf::LastLeaf() const
{
    return {editable(this), true};
}

ZeCTransformationNode::ZeNLeafNodeIterator ZeCTransformationNodeLeaf::EndLeaf() const
{
    return {editable(this), false};
}

ZeCTransformationNode::ZeNCachedLeafNodeIterator ZeCTransformationNodeLeaf::BeginCachedLeaf() const
{
    return {editable(this), true};
}

ZeCTransformationNode::ZeNCachedLeafNodeIterator ZeCTransformationNodeLeaf::LastCachedLeaf() const
{
    return {editable(this), true};
}

ZeCTransformationNode::ZeNCachedLeafNodeIterator ZeCTransformationNodeLeaf::EndCachedLeaf() const
{
    return {editable(this), false};
}

CbSmartPointer<ZeCTransformationNode> ZeCTransformationNodeLeaf::BackNode() const
{
    return editable(this);
}

CbSmartPointer<ZeCTransformationNodeLeaf> ZeCTransformationNodeLeaf::FrontLeaf() const
{
    return editable(this);
}

CbSmartPointer<ZeCTransformationNodeLeaf> ZeCTransformationNodeLeaf::BackLeaf() const
{
    return editable(this);
}

CbSmartPointer<ZeCTransformationNode> ZeCTransformationNodeLeaf::FrontCachedLeaf() const
{
    return editable(this);
}

CbSmartPointer<ZeCTransformationNode> ZeCTransformationNodeLeaf::BackCachedLeaf() const
{
    return editable(this);
}

ZeCTransformationNode::ZeNSurfelIterator ZeCTransformationNodeLeaf::BeginSurfel() const
{
    return ZeNSurfelIterator(*this);
}

ZeCTransformationNode::ZeNRandomAccessSurfelIterator ZeCTransformationNodeLeaf::GetRas() const
{
    ZeNRandomAccessSurfelIterator surfels;
    surfels.append(*this, c_matIdentityD);
    return surfels;
}

ZeCTransformationNode::ZeNRandomSamplingSurfelIterator
ZeCTransformationNodeLeaf::BeginRss(int k) const
{
    return {GetRas(), k};
}

ZeCTransformationNode::ZeNInnerNodeIterator ZeCTransformationNodeLeaf::BeginInner() const
{
    return {editable(this), false};
}

ZeCTransformationNode::ZeNInnerNodeIterator ZeCTransformationNodeLeaf::LastInner() const
{
    return {editable(this), false};
}

ZeCTransformationNode::ZeNInnerNodeIterator ZeCTransformationNodeLeaf::EndInner() const
{
    return {editable(this), false};
}
