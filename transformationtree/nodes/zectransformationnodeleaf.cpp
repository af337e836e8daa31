#include "transformationtree/nodes/zectransformationnodeleaf.h"

#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "transformationtree/nodes/internal/fixedplaces.h"

namespace
{

constexpr std::uint32_t c_version = 2; // 1 had no flag

} // namespace

const CbRTTI ZeCTransformationNodeLeaf::RTTI(CB_TEXT("ZeCTransformationNodeLeaf"), &CreateByFactory,
                                             &CloneByFactory, &ZeCTransformationNode::RTTI);

ZeCTransformationNodeLeaf::ZeCTransformationNodeLeaf() : CbClonableObject(EKind::Leaf) {}

ZeCTransformationNodeLeaf::ZeCTransformationNodeLeaf(CbSmartPointer<const ZeCModelQMT> model)
    : CbClonableObject(EKind::Leaf, std::move(model))
{
    SetVisible(true); // scans are shown; what is read or copied says itself
}

ZeCTransformationNodeLeaf::ZeCTransformationNodeLeaf(const ZeCTransformationNodeLeaf& other)
    : CbClonableObject(other), newEntryScan_(other.newEntryScan_)
{}

ZeCTransformationNodeLeaf::~ZeCTransformationNodeLeaf() = default;

CyBoundingBox3D ZeCTransformationNodeLeaf::GetBoundingBox(const CbMatrix4Rd& /*trafo*/) const
{
    // In the leaf's own frame: inner nodes map the corners of this box.
    const ZeCSurfelContainer* const surfels = borrowSurfels();
    return surfels != nullptr ? surfels->GetBoundingBox() : CyBoundingBox3D{};
}

void ZeCTransformationNodeLeaf::AssumeAttributes(
    const CbSmartPointer<const ZeCTransformationNode>& other, EAttributesToCopy what)
{
    // A leaf takes nothing over from an inner node, whose model is a merged one.
    if (other && other->IsLeaf()) ZeCTransformationNode::AssumeAttributes(other, what);
}

void ZeCTransformationNodeLeaf::AssumeAttributesIncrementVersion(
    const CbSmartPointer<const ZeCTransformationNode>& other)
{
    AssumeAttributes(other, EAttributesToCopy::PropertiesAndModel);
}

ZeTNodeRevision ZeCTransformationNodeLeaf::GetNodeRevisionSubtree(unsigned int mask) const
{
    return GetNodeRevision(mask);
}

void ZeCTransformationNodeLeaf::UpdateNodeRevisionSubtree(ZeTNodeRevision* out)
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
    constexpr FixedPlace place = FixedPlaces::c_leafVersion;
    const auto version = stream.ReadKnownVersion(1, c_version, place.file, place.line);
    if (version == c_version) stream >> newEntryScan_; // else it keeps what it has
}
