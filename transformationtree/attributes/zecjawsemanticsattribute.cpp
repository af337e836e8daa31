#include "transformationtree/attributes/zecjawsemanticsattribute.h"

#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "transformationtree/nodes/internal/fixedplaces.h"
#include "transformationtree/nodes/internal/revisionstream.h"

#include <utility>

namespace
{

constexpr std::uint32_t c_version = 1;
constexpr std::uint32_t c_thresholdCount = 1;

void write(CbStreamWriteBinary& stream, const CbVector3f& vector)
{
    stream << vector.x << vector.y << vector.z;
}

void read(CbStreamReadBinary& stream, CbVector3f& vector)
{
    stream >> vector.x >> vector.y >> vector.z;
}

} // namespace

const CbRTTI ZeCJawSemanticsAttribute::RTTI(CB_TEXT("ZeCJawSemanticsAttribute"), &CreateByFactory,
                                            nullptr, &ZeARTTIAttribute::RTTI);

ZeCJawSemanticsAttribute::ZeCJawSemanticsAttribute() { ZeCJawSemanticsAttribute::ResetAttribute(); }

ZeCJawSemanticsAttribute::~ZeCJawSemanticsAttribute() = default;

void ZeCJawSemanticsAttribute::SetOcclusalDirectionBinning(const ZeCQuantizedNormalBinning& binning)
{
    occlusalDirectionBinning_ = binning;
    estimatesUpToDate_ = false;
}

void ZeCJawSemanticsAttribute::SetExtraoralDirectionBinning(
    const ZeCQuantizedNormalBinning& binning)
{
    extraoralDirectionBinning_ = binning;
    estimatesUpToDate_ = false;
}

ZeTNodeRevision ZeCJawSemanticsAttribute::GetOcclusalDirectionBinningRevision() const
{
    const CbCriticalSectionLock lock(section_);
    return occlusalDirectionBinningRevision_;
}

void ZeCJawSemanticsAttribute::SetOcclusalDirectionBinningRevision(ZeTNodeRevision revision)
{
    const CbCriticalSectionLock lock(section_);
    occlusalDirectionBinningRevision_ = revision;
}

CbVector3f ZeCJawSemanticsAttribute::GetOcclusalDirectionEstimate() const
{
    const CbCriticalSectionLock lock(section_);
    updateEstimates();
    return occlusalDirectionEstimate_;
}

CbVector3f ZeCJawSemanticsAttribute::GetExtraoralDirectionEstimate() const
{
    const CbCriticalSectionLock lock(section_);
    updateEstimates();
    return extraoralDirectionEstimate_;
}

void ZeCJawSemanticsAttribute::updateEstimates() const
{
    // Both, since one mark stands for both.
    if (estimatesUpToDate_) return;
    constexpr CbVector3f c_none;
    occlusalDirectionEstimate_ =
        occlusalDirectionBinning_.ComputeMeanDirectionAboveThresholdCount(c_thresholdCount);
    // Null if no bin reaches the threshold, or if directions cancel out: a default then.
    if (occlusalDirectionEstimate_ == c_none) occlusalDirectionEstimate_.z = -1;
    extraoralDirectionEstimate_ =
        extraoralDirectionBinning_.ComputeMeanDirectionAboveThresholdCount(c_thresholdCount);
    if (extraoralDirectionEstimate_ == c_none) extraoralDirectionEstimate_.x = 1;
    estimatesUpToDate_ = true;
}

void ZeCJawSemanticsAttribute::Serialize(CbStreamWriteBinary& stream) const
{
    stream << c_version;
    writeVersion1(stream);
}

void ZeCJawSemanticsAttribute::Serialize(CbStreamReadBinary& stream)
{
    constexpr FixedPlace place = FixedPlaces::c_jawSemanticsVersion;
    stream.ReadKnownVersion(c_version, c_version, place.file, place.line);
    readVersion1(stream);
}

// As the histograms, what is stored is not guarded against other threads.
void ZeCJawSemanticsAttribute::writeVersion1(CbStreamWriteBinary& stream) const
    CB_NO_THREAD_SAFETY_ANALYSIS
{
    write(stream, occlusalDirectionEstimate_);
    write(stream, extraoralDirectionEstimate_);
    stream << estimatesUpToDate_.load();
    occlusalDirectionBinning_.Serialize(stream);
    extraoralDirectionBinning_.Serialize(stream);
    WriteRevision(stream, occlusalDirectionBinningRevision_);
}

void ZeCJawSemanticsAttribute::readVersion1(CbStreamReadBinary& stream) CB_NO_THREAD_SAFETY_ANALYSIS
{
    // All is read before anything changes.
    CbVector3f occlusal;
    CbVector3f extraoral;
    bool upToDate = false;
    ZeCQuantizedNormalBinning occlusalBinning;
    ZeCQuantizedNormalBinning extraoralBinning;
    ZeTNodeRevision revision = 0;
    read(stream, occlusal);
    read(stream, extraoral);
    stream >> upToDate;
    occlusalBinning.Serialize(stream);
    extraoralBinning.Serialize(stream);
    ReadRevision(stream, revision);

    occlusalDirectionEstimate_ = occlusal;
    extraoralDirectionEstimate_ = extraoral;
    estimatesUpToDate_ = upToDate;
    occlusalDirectionBinning_ = std::move(occlusalBinning);
    extraoralDirectionBinning_ = std::move(extraoralBinning);
    occlusalDirectionBinningRevision_ = revision;
}

bool ZeCJawSemanticsAttribute::ResetAttribute()
{
    const CbCriticalSectionLock lock(section_);
    occlusalDirectionBinning_.Clear();
    extraoralDirectionBinning_.Clear();
    occlusalDirectionEstimate_ = {0, 0, -1};
    occlusalDirectionBinningRevision_ = -1;
    estimatesUpToDate_ = false;
    return true;
}
