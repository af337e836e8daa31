#include "platform/datacontainer/surfels/zecsurfelcontainer.h"

#include "platform/base/cbexception.h"
#include "platform/datacontainer/surfels/internal/zecsurfeltransformation.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

namespace
{

void extendByFinite(std::span<const CbVector3f> positions, CyBoundingBox3D& box)
{
    for (const CbVector3f& p : positions) {
        if (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)) box.Extend(p);
    }
}

constexpr std::size_t c_block = 512;

// Extends a box by so many positions, or returns false if one of them is not finite. Sixteen
// positions are 48 numbers side by side, whose extremes are taken without a branch.
bool extendByBlock(const CbVector3f* positions, CyBoundingBox3D& box)
{
    constexpr std::size_t c_lanes = 48;
    float minimum[c_lanes];
    float maximum[c_lanes];
    float zeros[c_lanes] = {}; // NaN from the first number on that is not finite
    std::memcpy(minimum, positions, sizeof minimum);
    std::memcpy(maximum, positions, sizeof maximum);
    for (std::size_t i = 0; i < c_block; i += c_lanes / 3) {
        float values[c_lanes];
        std::memcpy(values, positions + i, sizeof values);
        for (std::size_t lane = 0; lane < c_lanes; ++lane) {
            minimum[lane] = values[lane] < minimum[lane] ? values[lane] : minimum[lane];
            maximum[lane] = maximum[lane] < values[lane] ? values[lane] : maximum[lane];
            zeros[lane] += values[lane] * 0.0F;
        }
    }
    for (const float zero : zeros) {
        if (zero != 0.0F) return false;
    }
    for (std::size_t lane = 0; lane < c_lanes; lane += 3) {
        box.Extend({minimum[lane], minimum[lane + 1], minimum[lane + 2]});
        box.Extend({maximum[lane], maximum[lane + 1], maximum[lane + 2]});
    }
    return true;
}

void checkRange(std::uint32_t first, std::uint32_t count, std::uint32_t size, const char* what)
{
    if (first < size && count <= size - first) return;
    throw CbException(CB_HERE, std::string(what) + " surfels from " + std::to_string(first) +
                                   ", number " + std::to_string(count) + ", of " +
                                   std::to_string(size));
}

} // namespace

const CbRTTI ZeCSurfelContainer::RTTI(CB_TEXT("ZeCSurfelContainer"), nullptr, nullptr,
                                      &CySurfelCollectionBase::RTTI);

const CbRTTI& ZeCSurfelContainer::GetRTTI() const { return RTTI; }

ZeCSurfelContainer::ZeCSurfelContainer(std::uint32_t count, bool fill,
                                       ESurfelAttributeSet attributeSet)
    : attributeSet_(attributeSet), arrays_(count)
{
    if (fill) arrays_.Fill(0, count);
}

ZeCSurfelContainer::~ZeCSurfelContainer() = default;

CyBoundingBox3D ZeCSurfelContainer::GetBoundingBox() const noexcept
{
    CyBoundingBox3D box;
    auto rest = GetPositionAccessor();
    for (; rest.size() >= c_block; rest = rest.subspan(c_block)) {
        if (!extendByBlock(rest.data(), box)) extendByFinite(rest.first(c_block), box);
    }
    extendByFinite(rest, box);
    return box;
}

void ZeCSurfelContainer::CopySurfel(std::uint32_t destination, const ZeCSurfelContainer& from,
                                    std::uint32_t source, bool transformNormal,
                                    const CbMatrix4Rf& transformation)
{
    checkRange(destination, 1, GetNrSurfels(), "destination:");
    checkRange(source, 1, from.GetNrSurfels(), "source:");
    if (&from == this && source == destination) {
        // One surfel may be mapped in place, by way of a copy.
        ZeCSurfelTransformation map(transformation);
        const CbVector3f position = arrays_.GetPositions()[source];
        const ZeCQuantizedNormal normal = arrays_.GetNormals()[source];
        map.MapPositions(&position, arrays_.GetPositions() + destination, 1);
        if (transformNormal) map.MapNormals(&normal, arrays_.GetNormals() + destination, 1);
        return;
    }
    copy(destination, from, source, 1, transformNormal, transformation);
}

void ZeCSurfelContainer::CopySurfels(std::uint32_t destination, const ZeCSurfelContainer& from,
                                     std::uint32_t source, std::uint32_t count,
                                     bool transformNormals, const CbMatrix4Rf& transformation)
{
    if (count == 0) return;
    checkRange(destination, count, GetNrSurfels(), "destination:");
    checkRange(source, count, from.GetNrSurfels(), "source:");
    if (&from == this && std::max(source, destination) - std::min(source, destination) < count) {
        throw CbException(CB_HERE, std::to_string(count) + " surfels from " +
                                       std::to_string(source) + " onto " +
                                       std::to_string(destination) + " overlap");
    }
    copy(destination, from, source, count, transformNormals, transformation);
}

void ZeCSurfelContainer::Append(const ZeCSurfelContainer& other, const CbMatrix4Rf& transformation)
{
    const std::uint32_t size = GetNrSurfels();
    const std::uint32_t added = other.GetNrSurfels();
    if (added > std::numeric_limits<std::uint32_t>::max() - size) {
        throw CbException(CB_HERE, std::to_string(size) + " + " + std::to_string(added) +
                                       " surfels are too many");
    }
    if (added == 0) return;
    arrays_.Resize(size + added);
    copy(size, other, 0, added, true, transformation);
}

void ZeCSurfelContainer::setContent(ESurfelAttributeSet attributeSet,
                                    ZeCSurfelArrays arrays) noexcept
{
    attributeSet_ = attributeSet;
    arrays_.Swap(arrays);
}

void ZeCSurfelContainer::copy(std::uint32_t destination, const ZeCSurfelContainer& from,
                              std::uint32_t source, std::uint32_t count, bool transformNormals,
                              const CbMatrix4Rf& transformation) noexcept
{
    const ZeCSurfelTransformation map(transformation);
    const auto copyArray = [&](auto array) {
        auto* const first = (arrays_.*array)();
        const auto* const taken = (from.arrays_.*array)();
        std::memcpy(static_cast<void*>(first + destination), taken + source, count * sizeof *first);
    };
    map.MapPositions(from.arrays_.GetPositions() + source, arrays_.GetPositions() + destination,
                     count);
    if (transformNormals) {
        map.MapNormals(from.arrays_.GetNormals() + source, arrays_.GetNormals() + destination,
                       count);
    } else {
        copyArray(&ZeCSurfelArrays::GetNormals);
    }
    copyArray(&ZeCSurfelArrays::GetColors);
    copyArray(&ZeCSurfelArrays::GetQualities);
    copyArray(&ZeCSurfelArrays::GetTissueTypes);
    copyArray(&ZeCSurfelArrays::GetBoundaryFlags);
    copyArray(&ZeCSurfelArrays::GetCurvatures);
}
