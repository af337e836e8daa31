#include "platform/datacontainer/surfels/zecsurfelarrays.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace
{

static_assert(sizeof(CbVector3f) == 12 && sizeof(ZeCQuantizedNormal) == 2 &&
              sizeof(ZeCCompressedColor) == 4 && sizeof(bool) == 1);

constexpr std::size_t paddedCapacity(std::size_t count)
{
    constexpr std::size_t c_group = 64;
    constexpr std::size_t c_few = 16; // many collections that are stored for later hold one or two
    if (0 < count && count <= c_few) return c_few;
    return (count + c_group - 1) / c_group * c_group;
}

template<class T>
void copyArray(const T* from, T* to, std::size_t count) noexcept
{
    std::memcpy(static_cast<void*>(to), from, count * sizeof(T));
}

} // namespace

ZeCSurfelArrays::ZeCSurfelArrays(std::uint32_t count)
    : block_(paddedCapacity(count) * c_bytesPerSurfel),
      capacity_(paddedCapacity(count)),
      size_(count)
{}

ZeCSurfelArrays::~ZeCSurfelArrays() = default;

ZeCSurfelArrays::ZeCSurfelArrays(const ZeCSurfelArrays& other) : ZeCSurfelArrays(other.size_)
{
    copyFrom(other);
}

void ZeCSurfelArrays::Reserve(std::uint32_t count)
{
    if (count <= capacity_) return;
    ZeCSurfelArrays larger(count);
    larger.copyFrom(*this);
    larger.size_ = size_;
    Swap(larger);
}

// Room grows by half of what there is, so that appending copies each surfel a few times at the
// most.
void ZeCSurfelArrays::Resize(std::uint32_t count)
{
    if (count > capacity_) {
        constexpr std::size_t c_most = std::numeric_limits<std::uint32_t>::max();
        const std::size_t room = std::max<std::size_t>(count, capacity_ + capacity_ / 2);
        Reserve(static_cast<std::uint32_t>(std::min(room, c_most)));
    }
    size_ = count;
}

void ZeCSurfelArrays::Fill(std::uint32_t first, std::uint32_t count) noexcept
{
    std::fill_n(GetPositions() + first, count, CbVector3f{});
    std::fill_n(GetNormals() + first, count, ZeCQuantizedNormal{});
    std::fill_n(GetColors() + first, count, ZeCCompressedColor{});
    std::fill_n(GetQualities() + first, count, std::uint8_t{255});
    std::fill_n(GetTissueTypes() + first, count, std::uint8_t{0});
    std::fill_n(GetBoundaryFlags() + first, count, false);
    std::fill_n(GetCurvatures() + first, count, std::uint8_t{128});
}

void ZeCSurfelArrays::Swap(ZeCSurfelArrays& other) noexcept
{
    std::swap(block_, other.block_);
    std::swap(capacity_, other.capacity_);
    std::swap(size_, other.size_);
}

void ZeCSurfelArrays::copyFrom(const ZeCSurfelArrays& other) noexcept
{
    if (other.size_ == 0) return;
    copyArray(other.GetPositions(), GetPositions(), other.size_);
    copyArray(other.GetNormals(), GetNormals(), other.size_);
    copyArray(other.GetColors(), GetColors(), other.size_);
    copyArray(other.GetQualities(), GetQualities(), other.size_);
    copyArray(other.GetTissueTypes(), GetTissueTypes(), other.size_);
    copyArray(other.GetBoundaryFlags(), GetBoundaryFlags(), other.size_);
    copyArray(other.GetCurvatures(), GetCurvatures(), other.size_);
}
