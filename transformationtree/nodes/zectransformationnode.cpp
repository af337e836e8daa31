#include "transformationtree/nodes/zectransformationnode.h"

#include "logging/log.h"
#include "platform/base/cbexception.h"
#include "platform/base/cbimmortal.h"
#include "platform/datacontainer/models/zecmodelserializationidmapper.h"
#include "platform/math3d/cbmatrix4stream.h"
#include "platform/math3d/cbmatrixinternal.h"
#include "transformationtree/nodes/internal/fixedplaces.h"
#include "transformationtree/nodes/internal/loggedcallstack.h"
#include "transformationtree/nodes/internal/revisionstream.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"
#include "transformationtree/nodes/zectransformationnodeserializationidmapper.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace
{

constexpr std::uint32_t c_recordVersion = 1;

constexpr const CbWChar* c_logger = CB_TEXT("Diagnostics.Registration.TransformationNode");

// What masks select; their other bits mean nothing.
constexpr unsigned int c_knownRevisions =
    ZeCTransformationNode::c_modelRevision | ZeCTransformationNode::c_trafoRevision;

// Where the counter of revisions stops.
constexpr ZeTNodeRevision c_lastRevision = std::numeric_limits<ZeTNodeRevision>::max();

// The newest revision of the process.
struct HeadRevision
{
    CbCriticalSection section;
    ZeTNodeRevision value CB_GUARDED_BY(section) = 0;
};

// Never destroyed: nodes of static objects may renew revisions while the process ends.
HeadRevision& headRevision()
{
    static const CbImmortal<HeadRevision> instance;
    return *instance;
}

auto& nodeMapper()
{
    return CbSingleton<ZeCTransformationNodeSerializationIDMapper>::GetInstance();
}

auto& modelMapper() { return CbSingleton<ZeCModelSerializationIDMapper>::GetInstance(); }

} // namespace

const CbRTTI ZeCTransformationNode::RTTI(CB_TEXT("ZeCTransformationNode"), nullptr, nullptr,
                                         &CyNode::RTTI);

ZeCTransformationNode::ZeCTransformationNode(EKind kind) : ZeCTransformationNode(kind, nullptr) {}

ZeCTransformationNode::ZeCTransformationNode(EKind kind, CbSmartPointer<const ZeCModelQMT> model)
    : model_(std::move(model)), leaf_(kind == EKind::Leaf)
{
    NewNodeRevision(c_allRevisions);
    CyUniqueID id;
    id.Renew();
    setID(id);
}

ZeCTransformationNode::ZeCTransformationNode(const ZeCTransformationNode& other)
    : CyNode(other),
      description_(other.description_),
      revisions_(other.getRevisions()),
      relativeTrafo_(other.relativeTrafo_),
      leaf_(other.leaf_),
      visible_(other.visible_)
{
    CyUniqueID id;
    id.Renew();
    setID(id);
}

ZeCTransformationNode::~ZeCTransformationNode() = default;

const CyUniqueID& ZeCTransformationNode::GetInvalidID() noexcept
{
    static constexpr CyUniqueID id = CyUniqueID::GetInvalidID();
    return id;
}

void ZeCTransformationNode::setID(const CyUniqueID& id)
{
    // A label given as an id is written out only when it is asked for; of nil it would be empty.
    id.IsNil() ? SetName(id.ToString()) : SetName(id);
    id_ = id;
}

void ZeCTransformationNode::SetDescription(const CString& description)
{
    CString copy = description; // first, so that a want of memory leaves both as they are
    if (!leaf_ && model_) model_->SetDescription(description);
    storeDescription(std::move(copy));
}

void ZeCTransformationNode::storeDescription(CString description) noexcept
{
    const CbCriticalSectionLock lock(nodeLock_);
    std::swap(description_, description); // the old text goes after the lock is left
}

CString ZeCTransformationNode::getLoggedDescription() const
{
    const CbCriticalSectionLock lock(nodeLock_);
    return description_;
}

CbSmartPointer<ZeCTransformationNodeInner> ZeCTransformationNode::GetFather() const
{
    return father_.Lock();
}

void ZeCTransformationNode::setFather(
    const CbSmartPointer<ZeCTransformationNodeInner>& father) noexcept
{
    father_ = father;
}

bool ZeCTransformationNode::IsChildOf(const ZeCTransformationNodeInner& father) const noexcept
{
    return father_.GetAddress() == &father;
}

void ZeCTransformationNode::SetRelativeTrafo(const CbMatrix4Rd& trafo)
{
    relativeTrafo_ = trafo;
    NewNodeRevision(c_trafoRevision);
}

CbMatrix4Rd ZeCTransformationNode::GetRelativeTrafo(
    const CbSmartPointer<const ZeCTransformationNodeInner>& ancestor) const
{
    if (ancestor.Get() == this) return c_matIdentityD;
    CbMatrix4Rd accumulated = relativeTrafo_;
    // Keeps the father that it stands on: the link from below is weak.
    for (auto father = GetFather(); father && father != ancestor; father = father->GetFather()) {
        accumulated = Compose(accumulated, father->relativeTrafo_);
    }
    return accumulated;
}

void ZeCTransformationNode::SetRelativeTrafo(
    const CbMatrix4Rd& trafo, const CbSmartPointer<const ZeCTransformationNodeInner>& ancestor)
{
    constexpr const char* function = "ZeCTransformationNode::SetRelativeTrafo";
    const auto father = GetFather();
    if (!father) {
        if (Logging::IsWarningEnabled(c_logger)) {
            const CString callStack = LoggedCallStack();
            constexpr FixedPlace place = FixedPlaces::c_noFatherLogged;
            Logging::LogWarning(c_logger, place.file, place.line, function,
                                CB_TEXT("Setting relative Trafo on Node without Father!\n%s"),
                                callStack.GetString());
        }
        constexpr FixedPlace place = FixedPlaces::c_noFather;
        throw CbException(place.file, place.line, function,
                          "node " + id_.ToString().ToUtf8() + " has no father to be placed in");
    }
    CbMatrix4Rd ancestorToFather = father->GetRelativeTrafo(ancestor);
    CbMatrixInternal::Invert(ancestorToFather);
    SetRelativeTrafo(Compose(trafo, ancestorToFather));
}

ZeTNodeRevision ZeCTransformationNode::getNextGlobalNodeRevision()
{
    HeadRevision& head = headRevision();
    const CbCriticalSectionLock lock(head.section);
    if (head.value != c_lastRevision) ++head.value;
    return head.value;
}

void ZeCTransformationNode::assertGlobalNodeHeadRevisionValid(ZeTNodeRevision revision)
{
    HeadRevision& head = headRevision();
    const CbCriticalSectionLock lock(head.section);
    // One less first, so that the sum can't overflow.
    if (head.value <= revision) head.value = std::min(revision, c_lastRevision - 1) + 1;
}

void ZeCTransformationNode::NewNodeRevision(unsigned int mask)
{
    if ((mask & c_knownRevisions) == 0) return;
    const CbCriticalSectionLock lock(nodeLock_);
    // Held across both numbers, so that they follow each other.
    const CbCriticalSectionLock headLock(headRevision().section);
    for (std::size_t i = 0; i < revisions_.size(); ++i) {
        if ((mask >> i & 1) != 0) revisions_[i] = getNextGlobalNodeRevision();
    }
}

ZeTNodeRevision ZeCTransformationNode::GetNodeRevision(unsigned int mask) const
{
    const CbCriticalSectionLock lock(nodeLock_);
    switch (mask & c_knownRevisions) {
    case c_modelRevision:
        return revisions_[0];
    case c_trafoRevision:
        return revisions_[1];
    case c_knownRevisions:
        return std::max(revisions_[0], revisions_[1]);
    }
    return -1;
}

void ZeCTransformationNode::SetNodeRevision(ZeTNodeRevision revision, unsigned int mask)
{
    const CbCriticalSectionLock lock(nodeLock_);
    for (std::size_t i = 0; i < revisions_.size(); ++i) {
        if ((mask >> i & 1) != 0) revisions_[i] = revision;
    }
}

auto ZeCTransformationNode::getRevisions() const -> Revisions
{
    const CbCriticalSectionLock lock(nodeLock_);
    return revisions_;
}

auto ZeCTransformationNode::raiseRevisions(const Revisions& revisions) -> Revisions
{
    const CbCriticalSectionLock lock(nodeLock_);
    for (std::size_t i = 0; i < revisions_.size(); ++i) {
        revisions_[i] = std::max(revisions_[i], revisions[i]);
    }
    return revisions_;
}

CbSmartPointer<const ZeCModelQMT> ZeCTransformationNode::GetModel() const { return model_; }

void ZeCTransformationNode::SerializeStructure(CbStreamWriteBinary& stream) const
{
    // Taken together: another thread may renew them meanwhile.
    const auto [modelRevision, trafoRevision] = getRevisions();
    stream << c_recordVersion;
    GetIDOf(GetFather().Get()).Serialize(stream);
    modelMapper().WriteModelByReference(stream, model_);
    WriteMatrix(stream, relativeTrafo_);
    stream << description_;
    id_.Serialize(stream);
    WriteRevision(stream, modelRevision);
    WriteRevision(stream, trafoRevision);
    stream << visible_;
}

void ZeCTransformationNode::SerializeStructure(CbStreamReadBinary& stream)
{
    constexpr FixedPlace place = FixedPlaces::c_nodeVersion;
    stream.ReadKnownVersion(c_recordVersion, c_recordVersion, place.file, place.line);
    // Fields come in as they are read. What a stream that ends early leaves is the caller's to give
    // up, who reads nodes that nobody else knows yet.
    const auto father = nodeMapper().ReadNodeByReference(stream);
    setFather(CbSmartPointer<ZeCTransformationNodeInner>(father ? father->AsInner() : nullptr));
    model_ = modelMapper().ReadModelByReference(stream);
    ReadMatrix(stream, relativeTrafo_);
    CString description;
    stream >> description;
    storeDescription(std::move(description));
    CyUniqueID id;
    id.Serialize(stream);
    setID(id);
    for (const unsigned int mask : {c_modelRevision, c_trafoRevision}) {
        ZeTNodeRevision revision = 0;
        ReadRevision(stream, revision);
        SetNodeRevision(revision, mask);
    }
    stream >> visible_;
}

void ZeCTransformationNode::AssumeAttributes(
    const CbSmartPointer<const ZeCTransformationNode>& other, EAttributesToCopy /*what*/)
{
    if (!other) return;
    SetDescription(other->description_); // the one step that may fail for want of memory
    relativeTrafo_ = other->relativeTrafo_;
    visible_ = other->visible_;
}

void ZeCTransformationNode::SetAttribute(const CbSmartPointer<ZeARTTIAttribute>& attribute)
{
    attributes_.SetAttribute(attribute);
}

void ZeCTransformationNode::SetAttributes(ZeARTTIAttributeContainer& attributes)
{
    attributes_.SetAttributes(attributes);
}

void ZeCTransformationNode::DeleteAttribute(const CbRTTI& type)
{
    attributes_.DeleteAttribute(type);
}

void ZeCTransformationNode::DeleteAttributes(const std::vector<const CbRTTI*>& types)
{
    attributes_.DeleteAttributes(types);
}

void ZeCTransformationNode::ClearAttributeContainer() { attributes_.Clear(); }

void ZeCTransformationNode::ResetAttributes() { attributes_.ResetAttributes(); }

void ZeCTransformationNode::CopyAttributesFrom(const ZeCTransformationNode& other)
{
    attributes_.CopyFrom(other.attributes_);
}

void ZeCTransformationNode::CopyAttributesFrom(const ZeARTTIAttributeContainer& attributes)
{
    attributes_.CopyFrom(attributes);
}

void ZeCTransformationNode::SerializeAttributes(CbStreamWriteBinary& stream) const
{
    attributes_.Serialize(stream);
}

void ZeCTransformationNode::SerializeAttributes(CbStreamReadBinary& stream)
{
    attributes_.Serialize(stream);
}
