#include "transformationtree/zectransformationnodeleaf.h"

#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "transformationtree/zectransformationnodeiterators.h"

namespace
{

constexpr std::uint32_t c_version = 2; // 1 had no flag

} // namespace

const CbRTTI ZeCTransformationNodeLeaf::RTTI(CB_TEXT("ZeCTransformationNodeLeaf"),
                                             &ZeCTransformationNodeLeaf::CreateByFactory,
                                             &ZeCTransformationNodeLeaf::CloneByFactory,
                                             &ZeCTransformationNode::RTTI);

IObject* ZeCTransformationNodeLeaf::CreateByFactory() { return new ZeCTransformationNodeLeaf; }

IObject* ZeCTransformationNodeLeaf::CloneByFactory(const IObject& object)
{
    return new ZeCTransformationNodeLeaf(dynamic_cast<const ZeCTransformationNodeLeaf&>(object));
}

ZeCTransformationNodeLeaf::ZeCTransformationNodeLeaf() : ZeCTransformationNode(EKind::Leaf) {}

ZeCTransformationNodeLeaf::ZeCTransformationNodeLeaf(CbSmartPointer<const ZeCModelQMT> model)
    : ZeCTransformationNode(EKind::Leaf, std::move(model))
{
    SetVisible(true);
}

ZeCTransformationNodeLeaf::ZeCTransformationNodeLeaf(const ZeCTransformationNodeLeaf& other)
    : ZeCTransformationNode(other), newEntryScan_(other.newEntryScan_)
{}

ZeCTransformationNodeLeaf::~ZeCTransformationNodeLeaf() = default;

CyBoundingBox3D ZeCTransformationNodeLeaf::GetBoundingBox(const CbMatrix4Rd& /*trafo*/) const
{
    const ZeCSurfelContainer* const surfels = borrowSurfels();
    return surfels != nullptr ? surfels->GetBoundingBox() : CyBoundingBox3D{};
}

void ZeCTransformationNodeLeaf::AssumeAttributes(
    const CbSmartPointer<const ZeCTransformationNode>& other, EAttributesToCopy what)
{
    if (other && other->IsLeaf()) ZeCTransformationNode::AssumeAttributes(other, what);
}

void ZeCTransformationNodeLeaf::AssumeAttributesIncrementVersion(
    const CbSmartPointer<const ZeCTransformationNode>& other)
{
    AssumeAttributes(other, EAttributesToCopy::PropertiesAndModel);
}

long long ZeCTransformationNodeLeaf::GetNodeRevisionSubtree(unsigned int mask) const
{
    return GetNodeRevision(mask);
}

void ZeCTransformationNodeLeaf::UpdateNodeRevisionSubtree(long long* out)
{
    const auto revisions = getRevisions();
    out[0] = revisions[0];
    out[1] = revisions[1];
}

void ZeCTransformationNodeLeaf::SerializeStructure(CbStreamWriteBinary& stream) const
{
    ZeCTransformationNode::SerializeStructure(stream);
    stream.WriteVersion(c_version);
    stream << newEntryScan_;
}

void ZeCTransformationNodeLeaf::SerializeStructure(CbStreamReadBinary& stream)
{
    ZeCTransformationNode::SerializeStructure(stream);
    const auto version = stream.ReadKnownVersion(1, c_version, "zectransformationnodeleaf", 516);
    if (version == c_version) stream >> newEntryScan_;
}

// The walks that begin at a leaf stop at that leaf alone.

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
