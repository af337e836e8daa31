#include "platform/datacontainer/zecsurfelcontainer.h"

#include "platform/base/cbexception.h"
#include "platform/datacontainer/internal/zecsurfeltransformation.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

namespace
{

bool isFinite(const CbVector3f& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
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
    // Eight boxes side by side: neighbouring surfels then do not wait for each other's results.
    constexpr std::size_t c_lanes = 8;
    CyBoundingBox3D boxes[c_lanes];
    const auto positions = GetPositionAccessor();
    std::size_t i = 0;
    for (; i + c_lanes <= positions.size(); i += c_lanes) {
        for (std::size_t lane = 0; lane < c_lanes; ++lane) {
            if (isFinite(positions[i + lane])) boxes[lane].Extend(positions[i + lane]);
        }
    }
    for (; i < positions.size(); ++i) {
        if (isFinite(positions[i])) boxes[0].Extend(positions[i]);
    }
    for (std::size_t lane = 1; lane < c_lanes; ++lane) boxes[0].Extend(boxes[lane]);
    return boxes[0];
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
