#include "transformationtree/attributes/zecareapropertiesattribute.h"

#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "transformationtree/nodes/internal/fixedplaces.h"

namespace
{

constexpr std::uint32_t c_version = 1;

} // namespace

const CbRTTI ZeCAreaPropertiesAttribute::RTTI(CB_TEXT("ZeCAreaPropertiesAttribute"),
                                              &CreateByFactory, nullptr, &ZeARTTIAttribute::RTTI);

ZeCAreaPropertiesAttribute::~ZeCAreaPropertiesAttribute() = default;

ZeCAreaPropertiesAttribute::EOrientationStrategy
ZeCAreaPropertiesAttribute::GetOrientationStrategy() const
{
    const CbCriticalSectionLock lock(section_);
    return orientationStrategy_;
}

void ZeCAreaPropertiesAttribute::SetOrientationStrategy(EOrientationStrategy strategy)
{
    const CbCriticalSectionLock lock(section_);
    orientationStrategy_ = strategy;
}

// Stored areas have always come back with the default strategy; the format stays as it is.
void ZeCAreaPropertiesAttribute::Serialize(CbStreamWriteBinary& stream) const
{
    stream << c_version;
}

void ZeCAreaPropertiesAttribute::Serialize(CbStreamReadBinary& stream)
{
    constexpr FixedPlace place = FixedPlaces::c_areaPropertiesVersion;
    stream.ReadKnownVersion(c_version, c_version, place.file, place.line);
    SetOrientationStrategy(EOrientationStrategy::Default);
}

bool ZeCAreaPropertiesAttribute::ResetAttribute()
{
    SetOrientationStrategy(EOrientationStrategy::Default);
    return true;
}
