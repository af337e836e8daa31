#include "transformationtree/attributes/zecimageareadataattribute.h"

#include "platform/base/cbformat.h"
#include "platform/math3d/cbmatrix4stream.h"
#include "transformationtree/nodes/internal/fixedplaces.h"
#include "transformationtree/nodes/internal/revisionstream.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"

namespace
{

constexpr std::uint32_t c_version = 2; // 0 had no correlation revisions, 1 no time

const CbWChar* identityMark(const CbMatrix4Rf& matrix)
{
    return matrix == c_matIdentityF ? CB_TEXT("==") : CB_TEXT("!=");
}

} // namespace

const CbRTTI ZeCImageAreaDataAttribute::RTTI(CB_TEXT("ZeCImageAreaDataAttribute"), &CreateByFactory,
                                             nullptr, &ZeARTTIAttribute::RTTI);

ZeCImageAreaDataAttribute::ZeCImageAreaDataAttribute() = default;

ZeCImageAreaDataAttribute::~ZeCImageAreaDataAttribute() = default;

CbMatrix4Rf ZeCImageAreaDataAttribute::GetImpressionMatrix() const noexcept
{
    CbMatrix4Rf matrix;
    if (!fields_.isImpressionScan) return matrix;
    // Half a turn about y: x and z of what comes out change their signs.
    for (std::size_t row = 0; row < 4; ++row) {
        matrix[row][0] = -matrix[row][0];
        matrix[row][2] = -matrix[row][2];
    }
    return matrix;
}

unsigned int ZeCImageAreaDataAttribute::IncrementEnqueuedAreaCorrelationTasks()
{
    const CbCriticalSectionLock lock(section_);
    return ++numEnqueuedAreaCorrelationTasks_;
}

unsigned int ZeCImageAreaDataAttribute::DecrementEnqueuedAreaCorrelationTasks()
{
    const CbCriticalSectionLock lock(section_);
    return --numEnqueuedAreaCorrelationTasks_;
}

unsigned int ZeCImageAreaDataAttribute::GetNumEnqueuedAreaCorrelationTasks() const
{
    const CbCriticalSectionLock lock(section_);
    return numEnqueuedAreaCorrelationTasks_;
}

void ZeCImageAreaDataAttribute::InitFromAreaNode(
    const CbSmartPointer<const ZeCTransformationNodeInner>& areaNode)
{
    ResetAttribute();
    if (!areaNode) return;
    // All three begin with what the area is now: only later changes count.
    const ZeTNodeRevision revision =
        areaNode->GetNodeRevisionSubtree(ZeCTransformationNode::c_allRevisions);
    fields_.lastNodeRevision = revision;
    fields_.lastAreaCorrelationRevision = revision;
    fields_.lastRefAreaCorrelationRevision = revision;
}

// The labels are as logs have always had them.
CString ZeCImageAreaDataAttribute::ToString() const
{
    return CbFormat(
        CB_TEXT("Instance %X: running Tasks:%d corrObjID:%s isCorr:%d corrLvl:%d corrTrafo%sid "
                "corrErr:%f isRelaxed:%d relxTrafo%sid isImpress:%d spAnimation:%X "
                "lastSuccCorrTrafo%sid lastNodeRev:%d lastAreaCorrRev:%d lastRefAreaCorrRev:%d "
                "lastaGUID:%s lastaGUIDRef:%d"),
        static_cast<const void*>(this), GetNumEnqueuedAreaCorrelationTasks(),
        fields_.correlationObjectID, fields_.isCorrelated,
        static_cast<std::int32_t>(fields_.correlationLevel), identityMark(fields_.correlationTrafo),
        fields_.correlationError, fields_.isJawRelaxed, identityMark(fields_.jawRelaxationTrafo),
        fields_.isImpressionScan, static_cast<const void*>(fields_.animation.Get()),
        identityMark(fields_.lastSuccessfulCorrelationTrafo), fields_.lastNodeRevision,
        fields_.lastAreaCorrelationRevision, fields_.lastRefAreaCorrelationRevision,
        fields_.lastGUID, fields_.lastGUIDRevision);
}

void ZeCImageAreaDataAttribute::Serialize(CbStreamWriteBinary& stream) const
{
    stream << c_version;
    writeVersion2(stream, fields_);
}

void ZeCImageAreaDataAttribute::Serialize(CbStreamReadBinary& stream)
{
    constexpr FixedPlace place = FixedPlaces::c_imageAreaDataVersion;
    const std::uint32_t version = stream.ReadAndCompareVersion(c_version, place.file, place.line);
    // Older versions have fewer fields: the others keep their values. All come in at once.
    Fields fields = fields_;
    if (version == 0) {
        readVersion0(stream, fields);
    } else if (version == 1) {
        readVersion1(stream, fields);
    } else {
        readVersion2(stream, fields);
    }
    fields_ = std::move(fields);
}

// Each version is the one before with more fields behind it, and so are its reader and writer.
void ZeCImageAreaDataAttribute::writeVersion0(CbStreamWriteBinary& stream, const Fields& fields)
{
    stream << fields.correlationObjectID << fields.isCorrelated
           << static_cast<std::int32_t>(fields.correlationLevel);
    WriteMatrix(stream, fields.correlationTrafo);
    stream << fields.correlationError << fields.isJawRelaxed;
    WriteMatrix(stream, fields.jawRelaxationTrafo);
    stream << fields.isImpressionScan;
    WriteRevision(stream, fields.lastNodeRevision);
    stream << fields.lastGUID;
    WriteRevision(stream, fields.lastGUIDRevision);
}

void ZeCImageAreaDataAttribute::readVersion0(CbStreamReadBinary& stream, Fields& fields)
{
    // Levels that this version does not know are kept as numbers.
    std::int32_t level = 0;
    stream >> fields.correlationObjectID >> fields.isCorrelated >> level;
    fields.correlationLevel = static_cast<ECorrelationLevel>(level);
    ReadMatrix(stream, fields.correlationTrafo);
    stream >> fields.correlationError >> fields.isJawRelaxed;
    ReadMatrix(stream, fields.jawRelaxationTrafo);
    stream >> fields.isImpressionScan;
    ReadRevision(stream, fields.lastNodeRevision);
    stream >> fields.lastGUID;
    ReadRevision(stream, fields.lastGUIDRevision);
}

void ZeCImageAreaDataAttribute::writeVersion1(CbStreamWriteBinary& stream, const Fields& fields)
{
    writeVersion0(stream, fields);
    WriteRevision(stream, fields.lastAreaCorrelationRevision);
    WriteRevision(stream, fields.lastRefAreaCorrelationRevision);
}

void ZeCImageAreaDataAttribute::readVersion1(CbStreamReadBinary& stream, Fields& fields)
{
    readVersion0(stream, fields);
    ReadRevision(stream, fields.lastAreaCorrelationRevision);
    ReadRevision(stream, fields.lastRefAreaCorrelationRevision);
}

void ZeCImageAreaDataAttribute::writeVersion2(CbStreamWriteBinary& stream, const Fields& fields)
{
    writeVersion1(stream, fields);
    const std::int64_t time = fields.timeChanged.GetTime();
    stream.WriteBuffer(&time, sizeof time);
}

void ZeCImageAreaDataAttribute::readVersion2(CbStreamReadBinary& stream, Fields& fields)
{
    readVersion1(stream, fields);
    std::int64_t time = 0;
    stream.ReadBuffer(&time, sizeof time);
    fields.timeChanged = CTime(time);
}

bool ZeCImageAreaDataAttribute::ResetAttribute()
{
    fields_ = Fields(); // not guarded, as all access to them
    const CbCriticalSectionLock lock(section_);
    numEnqueuedAreaCorrelationTasks_ = 0;
    return true;
}
