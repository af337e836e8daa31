#pragma once

#include "platform/base/cbalwaysinline.h"

#include <bit>
#include <cassert>
#include <cmath>
#include <cstdint>

/// The octahedral map of directions to codes: the octahedron |x| + |y| + |z| = 1 is unfolded to a
/// square (the lower half is turned outwards over the edges of the upper one), which is cut into
/// cells. Cell numbers u and v are interleaved, u first, so that dropping the lowest two bits of a
/// code gives the code of the cell that holds it one level up.
///
/// "Fast": nothing but basic single-precision arithmetic without branches, so that loops over codes
/// work on several at a time and give the same bits as single calls.
struct ZeTQuantizedNormalMultiLevelTraitsFast
{
    /// A point of the octahedron, which is a direction of arbitrary length.
    struct Point
    {
        /// In the frame of the directions.
        float x;
        float y;
        float z;
    };

    /// Returns the centre of the cell of a code.
    template<unsigned Level>
    [[nodiscard]] CB_ALWAYS_INLINE static Point Decode(std::uint32_t code) noexcept
    {
        constexpr int c_cells = 2 << Level;
        const std::uint32_t cells = separated(code);
        const float u = centre<c_cells>(cells >> 16U);
        const float v = centre<c_cells>(cells & 0xFFFFU);
        const float z = 1.0F - std::fabs(u) - std::fabs(v);
        const float beyond = masked(-z, negative(z));
        return {u - std::copysign(beyond, u), v - std::copysign(beyond, v), z};
    }

    /// Returns the code of a direction, or @p fallback if the sum of the magnitudes of its
    /// coordinates is zero or not finite.
    template<unsigned Level>
    [[nodiscard]] CB_ALWAYS_INLINE static std::uint32_t Encode(float x, float y, float z,
                                                               std::uint32_t fallback) noexcept
    {
        constexpr int c_cells = 2 << Level;
        const float length = std::fabs(x) + std::fabs(y) + std::fabs(z);
        const std::uint32_t valid = positiveAndFinite(length);
        const float u = masked(x / length, valid);
        const float v = masked(y / length, valid);
        const float outerU = std::copysign(1.0F - std::fabs(v), u);
        const float outerV = std::copysign(1.0F - std::fabs(u), v);
        const std::uint32_t below = negative(z);
        const std::uint32_t code =
            interleaved(cell<c_cells>(masked(outerU, below) + masked(u, ~below)) << 16U |
                        cell<c_cells>(masked(outerV, below) + masked(v, ~below)));
        return (code & valid) | (fallback & ~valid);
    }

private:
    // Masks are all ones or zero: conditions would become branches, which nothing predicts here.
    static float masked(float value, std::uint32_t mask) noexcept
    {
        return std::bit_cast<float>(std::bit_cast<std::uint32_t>(value) & mask);
    }
    static std::uint32_t negative(float value) noexcept
    {
        return static_cast<std::uint32_t>(std::bit_cast<std::int32_t>(value) >> 31);
    }
    static std::uint32_t positiveAndFinite(float value) noexcept
    {
        constexpr std::int32_t c_infinity = 0x7F800000;
        const auto bits = std::bit_cast<std::int32_t>(value) & 0x7FFFFFFF;
        return static_cast<std::uint32_t>((-bits & (bits - c_infinity)) >> 31);
    }

    template<int Cells>
    static float centre(std::uint32_t cell) noexcept
    {
        return static_cast<float>(2 * static_cast<int>(cell) + 1 - Cells) / Cells;
    }
    template<int Cells>
    static std::uint32_t cell(float coordinate) noexcept
    {
        constexpr int c_half = Cells / 2;
        const auto found =
            static_cast<std::uint32_t>(static_cast<std::int32_t>(coordinate * c_half + c_half));
        return found - found / Cells; // the upper border counts as inside
    }
    // Numbers of cells side by side, u in the upper half, from their bits in turn, and back: Morton
    // order, by moving groups of bits apart (Warren, Hacker's Delight 7-2). u = 10 and v = 01 give
    // the code 1001; separated, that is 10 and 01 again.
    static std::uint32_t separated(std::uint32_t code) noexcept
    {
        std::uint32_t bits = (code & 0x5555U) | (code & 0xAAAAU) << 15U;
        bits = (bits | bits >> 1U) & 0x33333333U;
        bits = (bits | bits >> 2U) & 0x0F0F0F0FU;
        return (bits | bits >> 4U) & 0x00FF00FFU;
    }
    static std::uint32_t interleaved(std::uint32_t cells) noexcept
    {
        std::uint32_t bits = (cells | cells << 4U) & 0x0F0F0F0FU;
        bits = (bits | bits << 2U) & 0x33333333U;
        bits = (bits | bits << 1U) & 0x55555555U;
        return (bits | bits >> 15U) & 0xFFFFU;
    }
};

/// A unit normal in 2*(Level + 1) bits.
///
/// A code is the cell of a direction; decoding gives the centre of the cell, normalised, and
/// encoding that gives the code again. At level 7 (65536 cells) the error is at most 0.95 degrees.
template<class Vector, unsigned Level, class Traits>
class ZeTQuantizedNormalMultiLevel
{
    static_assert(Level <= 7, "codes have 16 bits");

public:
    /// The number of a cell, below 4^(Level + 1).
    using Code = std::uint16_t;

    /// The cell of the direction +z.
    ZeTQuantizedNormalMultiLevel() noexcept = default;
    /// Takes a direction of any length; +z if the length is zero or a coordinate is not finite.
    explicit ZeTQuantizedNormalMultiLevel(const Vector& direction) noexcept
    {
        // Exact but for tiny coordinates beside huge ones, whose sum might overflow.
        constexpr float c_huge = 1e37F;
        const bool huge = std::fabs(direction.x) > c_huge || std::fabs(direction.y) > c_huge ||
                          std::fabs(direction.z) > c_huge;
        const float scale = huge ? 0.25F : 1.0F;
        code_ = static_cast<Code>(Traits::template Encode<Level>(
            direction.x * scale, direction.y * scale, direction.z * scale, c_up));
    }
    /// The normal with the code @p code, which must be a cell's.
    [[nodiscard]] static ZeTQuantizedNormalMultiLevel FromCode(Code code) noexcept
    {
        ZeTQuantizedNormalMultiLevel normal;
        normal.code_ = code;
        return normal;
    }

    /// The code of the cell.
    [[nodiscard]] Code GetCode() const noexcept { return code_; }
    /// The code of the larger cell that holds this one at a coarser level.
    /// @param level at most Level, which is this cell itself
    [[nodiscard]] Code GetCode(unsigned level) const noexcept
    {
        assert(level <= Level);
        return static_cast<Code>(code_ >> 2 * (Level - level));
    }
    /// The direction of the cell's centre, with length 1.
    [[nodiscard]] Vector GetNormal() const noexcept
    {
        const auto p = Traits::template Decode<Level>(code_);
        const float length = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
        return {p.x / length, p.y / length, p.z / length};
    }

    friend bool operator==(const ZeTQuantizedNormalMultiLevel&,
                           const ZeTQuantizedNormalMultiLevel&) = default;

private:
    static constexpr Code c_up = static_cast<Code>(3U << 2 * Level); ///< the middle of the square

    Code code_ = c_up;
};
