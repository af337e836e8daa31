#include "transformationtree/attributes/zecrepresentativeattribute.h"

#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "transformationtree/nodes/internal/fixedplaces.h"

namespace
{

constexpr std::uint32_t c_version = 1;

} // namespace

const CbRTTI ZeCRepresentativeAttribute::RTTI(CB_TEXT("ZeCRepresentativeAttribute"),
                                              &CreateByFactory, &CloneByFactory,
                                              &ZeARTTIAttribute::RTTI);

ZeCRepresentativeAttribute::~ZeCRepresentativeAttribute() = default;

void ZeCRepresentativeAttribute::SetGridVoxel(int x, int y, int z) noexcept
{
    x_ = x;
    y_ = y;
    z_ = z;
}

void ZeCRepresentativeAttribute::GetGridVoxel(int& x, int& y, int& z) const noexcept
{
    x = x_;
    y = y_;
    z = z_;
}

void ZeCRepresentativeAttribute::Serialize(CbStreamWriteBinary& stream) const
{
    stream.WriteVersion(c_version);
    writeVersion1(stream);
}

void ZeCRepresentativeAttribute::Serialize(CbStreamReadBinary& stream)
{
    constexpr FixedPlace place = FixedPlaces::c_representativeVersion;
    stream.ReadKnownVersion(c_version, c_version, place.file, place.line);
    readVersion1(stream);
}

void ZeCRepresentativeAttribute::writeVersion1(CbStreamWriteBinary& stream) const
{
    stream << x_ << y_ << z_;
}

void ZeCRepresentativeAttribute::readVersion1(CbStreamReadBinary& stream)
{
    // Aside, so that a stream that ends early changes none of the three.
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t z = 0;
    stream >> x >> y >> z;
    SetGridVoxel(x, y, z);
}

bool ZeCRepresentativeAttribute::ResetAttribute()
{
    SetGridVoxel(c_none, c_none, c_none);
    return true;
}
