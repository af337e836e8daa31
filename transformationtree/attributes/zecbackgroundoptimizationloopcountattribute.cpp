#include "transformationtree/attributes/zecbackgroundoptimizationloopcountattribute.h"

#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "transformationtree/nodes/internal/fixedplaces.h"

namespace
{

constexpr std::uint32_t c_version = 1;

} // namespace

const CbRTTI ZeCBackgroundOptimizationLoopCountAttribute::RTTI(
    CB_TEXT("ZeCBackgroundOptimizationLoopCountAttribute"), &CreateByFactory, &CloneByFactory,
    &ZeARTTIAttribute::RTTI);

ZeCBackgroundOptimizationLoopCountAttribute::ZeCBackgroundOptimizationLoopCountAttribute(
    const ZeCBackgroundOptimizationLoopCountAttribute& other)
    : CbClonableObject(other), optimizationLoopCount_(other.GetOptimizationLoopCount())
{}

ZeCBackgroundOptimizationLoopCountAttribute::~ZeCBackgroundOptimizationLoopCountAttribute() =
    default;

unsigned int ZeCBackgroundOptimizationLoopCountAttribute::GetOptimizationLoopCount() const
{
    const CbCriticalSectionLock lock(section_);
    return optimizationLoopCount_;
}

void ZeCBackgroundOptimizationLoopCountAttribute::SetOptimizationLoopCount(unsigned int count)
{
    const CbCriticalSectionLock lock(section_);
    optimizationLoopCount_ = count;
}

void ZeCBackgroundOptimizationLoopCountAttribute::Serialize(CbStreamWriteBinary& stream) const
{
    stream.WriteVersion(c_version);
    writeVersion1(stream);
}

void ZeCBackgroundOptimizationLoopCountAttribute::Serialize(CbStreamReadBinary& stream)
{
    constexpr FixedPlace place = FixedPlaces::c_loopCountVersion;
    stream.ReadKnownVersion(c_version, c_version, place.file, place.line);
    readVersion1(stream);
}

void ZeCBackgroundOptimizationLoopCountAttribute::writeVersion1(CbStreamWriteBinary& stream) const
{
    const CbCriticalSectionLock lock(section_);
    stream << optimizationLoopCount_;
}

void ZeCBackgroundOptimizationLoopCountAttribute::readVersion1(CbStreamReadBinary& stream)
{
    const CbCriticalSectionLock lock(section_);
    stream >> optimizationLoopCount_;
}
