#pragma once

#include "platform/base/cblargememory.h"
#include "platform/datacontainer/surfels/zeccompressedcolor.h"
#include "platform/datacontainer/surfels/zecquantizednormal.h"

#include <cstddef>
#include <cstdint>

/// The memory of a surfel container: seven arrays in one block, 22 bytes per surfel.
///
/// Each array starts at a multiple of 64 bytes and has room for a multiple of 64 surfels, so that
/// loops over whole groups need no tail; if there are up to 16 surfels, it is 16 of both.
class PLATFORM_API ZeCSurfelArrays
{
public:
    /// What one surfel takes in all arrays.
    static constexpr std::size_t c_bytesPerSurfel = 22;

    /// No surfels, and no memory.
    ZeCSurfelArrays() noexcept = default;
    /// Makes room for @p count surfels, whose values are not set.
    explicit ZeCSurfelArrays(std::uint32_t count);
    /// Copies have a block of their own, moves leave no surfels behind.
    ZeCSurfelArrays(const ZeCSurfelArrays& other);
    ZeCSurfelArrays(ZeCSurfelArrays&& other) noexcept { Swap(other); }
    ZeCSurfelArrays& operator=(ZeCSurfelArrays other) noexcept
    {
        Swap(other);
        return *this;
    }
    ~ZeCSurfelArrays();

    /// Number of surfels, and the number there is room for.
    [[nodiscard]] std::uint32_t GetSize() const noexcept { return size_; }
    [[nodiscard]] std::size_t GetCapacity() const noexcept { return capacity_; }

    /// First elements of the arrays, null without room. Lifetime: until the room grows.
    [[nodiscard]] CbVector3f* GetPositions() const noexcept { return at<CbVector3f>(0); }
    [[nodiscard]] ZeCQuantizedNormal* GetNormals() const noexcept
    {
        return at<ZeCQuantizedNormal>(12);
    }
    [[nodiscard]] ZeCCompressedColor* GetColors() const noexcept
    {
        return at<ZeCCompressedColor>(14);
    }
    [[nodiscard]] std::uint8_t* GetQualities() const noexcept { return at<std::uint8_t>(18); }
    [[nodiscard]] std::uint8_t* GetTissueTypes() const noexcept { return at<std::uint8_t>(19); }
    [[nodiscard]] bool* GetBoundaryFlags() const noexcept { return at<bool>(20); }
    [[nodiscard]] std::uint8_t* GetCurvatures() const noexcept { return at<std::uint8_t>(21); }

    /// Makes room for @p count surfels in all. Throws: std::bad_alloc, and nothing has changed.
    void Reserve(std::uint32_t count);
    /// Changes the number of surfels and keeps the values; those of added surfels are not set.
    /// Throws: std::bad_alloc, and nothing has changed. Cost: amortised constant for each surfel
    /// added.
    void Resize(std::uint32_t count);
    /// Gives all attributes of @p count surfels from @p first on their neutral values: the origin,
    /// normal +z, grey 128, quality 1, tissue type 0, no boundary, curvature 128.
    void Fill(std::uint32_t first, std::uint32_t count) noexcept;
    /// Exchanges the blocks; pointers into them stay valid.
    void Swap(ZeCSurfelArrays& other) noexcept;

private:
    // Arrays stand in the order of their bytes before a surfel's own in the block.
    template<class T>
    [[nodiscard]] T* at(std::size_t bytesBefore) const noexcept
    {
        return reinterpret_cast<T*>(block_.Get() + bytesBefore * capacity_);
    }
    void copyFrom(const ZeCSurfelArrays& other) noexcept;

    CbLargeMemory block_;      ///< of capacity_ surfels
    std::size_t capacity_ = 0; ///< 16 or a multiple of 64; not below size_
    std::uint32_t size_ = 0;
};
