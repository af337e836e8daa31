#pragma once

#include "platform/datacontainer/sampling/internal/sums/zecgridcell.h"

/// Sums of the surfels of one cell if all weigh the same, those of a ZeCGridCell, but several in
/// one word: as long as there are few, they need less than half of the memory and instructions.
///
/// Made all zero by value initialisation: no surfels.
struct alignas(16) ZeCPackedGridCell
{
    static constexpr std::uint32_t c_mostSurfels = 255;
    /// Bits of an axis's sum of normals, the lower ones of its word; the others are positions. Both
    /// hold the largest sums: 255 times 2^20, and 255 times 2^28.
    static constexpr unsigned c_normalBits = 28;

    /// Sums of 16 bits, four in a word from the lowest bits on.
    enum EAttribute : unsigned
    {
        Red,
        Green,
        Blue,
        Spare, ///< of colours; not used
        Quality,
        Curvature,
        Boundary,
        Count
    };
    /// Returns the word of an axis. SWAR: sums of two numbers are added up by one addition, since
    /// the lower ones never carry into the upper ones.
    /// @param fraction,normal as ZeCGridCell::AddGeometry takes them
    static constexpr std::uint64_t PackAxis(std::uint32_t fraction, std::uint32_t normal) noexcept
    {
        return std::uint64_t{fraction} << c_normalBits | normal;
    }
    /// Returns four bytes as a word of attributes; the first one in the lowest bits of both.
    /// SWAR: halves are moved apart, then bytes, as bits are for Morton codes. 0x44332211 becomes
    /// 0x0000443300002211 and then 0x0044003300220011.
    static constexpr std::uint64_t PackBytes(std::uint32_t bytes) noexcept
    {
        const std::uint64_t apart = (bytes | std::uint64_t{bytes} << 16U) & 0x0000FFFF0000FFFFU;
        return (apart | apart << 8U) & 0x00FF00FF00FF00FFU;
    }
    /// What is largest for the surfel of a tissue type with the smallest code of the normal.
    static constexpr std::uint32_t RankOf(std::uint8_t tissueType, std::uint16_t code) noexcept
    {
        return ZeCRank(tissueType, code);
    }

    [[nodiscard]] std::uint16_t GetCount() const noexcept { return GetSum(Count); }
    [[nodiscard]] std::uint8_t GetTissueType() const noexcept
    {
        return static_cast<std::uint8_t>(rank >> 16U);
    }
    /// Whether a surfel can be added: it has the tissue type of the others, if there are any, and
    /// they are not too many.
    [[nodiscard]] bool CanAdd(std::uint32_t rankOfSurfel) const noexcept
    {
        const bool isOther = (rank ^ rankOfSurfel) >> 16U != 0;
        const bool hasOthers = GetCount() != 0;
        return !(isOther & hasOthers) && GetCount() < c_mostSurfels;
    }
    /// Adds a surfel.
    /// @param firstAxes x and y
    /// @param addedAttributes both words
    void Add(const std::uint64_t* firstAxes, std::uint64_t lastAxis,
             const std::uint64_t* addedAttributes, std::uint32_t rankOfSurfel) noexcept
    {
        axes[0] += firstAxes[0];
        axes[1] += firstAxes[1];
        axes[2] += lastAxis;
        attributes[0] += addedAttributes[0];
        attributes[1] += addedAttributes[1];
        if (rank < rankOfSurfel) rank = rankOfSurfel;
    }
    /// Adds the same surfels to another cell, where each weighs 1, but for their tissue type.
    void AddTo(ZeCGridCell& cell) const noexcept;
    /// Returns the sums of an axis.
    [[nodiscard]] std::uint64_t GetPosition(std::size_t axis) const noexcept
    {
        return axes[axis] >> c_normalBits;
    }
    [[nodiscard]] std::uint32_t GetNormal(std::size_t axis) const noexcept
    {
        return static_cast<std::uint32_t>(axes[axis]) & ((1U << c_normalBits) - 1);
    }
    [[nodiscard]] std::uint16_t GetSum(EAttribute attribute) const noexcept
    {
        return static_cast<std::uint16_t>(attributes[attribute / 4] >> 16U * (attribute % 4));
    }

    std::uint64_t axes[3];
    std::uint32_t rank;     ///< the largest one
    std::uint32_t overflow; ///< kept by the owner: where surfels are that could not be added
    std::uint64_t attributes[2];
};

static_assert(sizeof(ZeCPackedGridCell) == 48);
