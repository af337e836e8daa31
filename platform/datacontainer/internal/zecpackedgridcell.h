#pragma once

#include "platform/datacontainer/internal/zecgridcell.h"

/// Sums of the surfels of one cell where all weigh the same, several in one word: as long as there
/// are few, they need less than half of the memory and of the instructions of a ZeCGridCell.
///
/// Made all zero by value initialisation: no surfels.
struct alignas(16) ZeCPackedGridCell
{
    /// Units of positions: less than 1e-7 of a cell is lost.
    static constexpr std::uint32_t c_positionUnits = 1U << 24U;
    static constexpr std::uint32_t c_mostSurfels = 255;

    /// Words of two sums, the first one in the lower half.
    enum EPair : std::size_t
    {
        PositionXY,
        PositionZNormalX,
        NormalYZ
    };
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
    /// Returns two numbers as a word.
    static constexpr std::uint64_t PackPair(std::uint32_t first, std::uint32_t second) noexcept
    {
        return first | std::uint64_t{second} << 32U;
    }
    /// Returns four bytes as a word of attributes; the first one in the lowest bits of both.
    static constexpr std::uint64_t PackBytes(std::uint32_t bytes) noexcept
    {
        const std::uint64_t apart = (bytes | std::uint64_t{bytes} << 16U) & 0x0000FFFF0000FFFFU;
        return (apart | apart << 8U) & 0x00FF00FF00FF00FFU;
    }
    /// What is largest for the surfel of a tissue type with the smallest code of the normal.
    static constexpr std::uint32_t RankOf(std::uint8_t tissueType, std::uint16_t code) noexcept
    {
        return std::uint32_t{tissueType} << 16U | (0xFFFFU - code);
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
    /// @param firstPairs the first two
    /// @param addedAttributes both words
    void Add(const std::uint64_t* firstPairs, std::uint64_t normalYZ,
             const std::uint64_t* addedAttributes, std::uint32_t rankOfSurfel) noexcept
    {
        pairs[PositionXY] += firstPairs[PositionXY];
        pairs[PositionZNormalX] += firstPairs[PositionZNormalX];
        pairs[NormalYZ] += normalYZ;
        attributes[0] += addedAttributes[0];
        attributes[1] += addedAttributes[1];
        if (rank < rankOfSurfel) rank = rankOfSurfel;
    }
    /// Adds the same surfels to another cell, where each weighs 1, but for their tissue type.
    void AddTo(ZeCGridCell& cell) const noexcept;
    /// Returns the number of a pair, which is a sum.
    [[nodiscard]] std::uint32_t GetLower(EPair pair) const noexcept
    {
        return static_cast<std::uint32_t>(pairs[pair]);
    }
    [[nodiscard]] std::uint32_t GetUpper(EPair pair) const noexcept
    {
        return static_cast<std::uint32_t>(pairs[pair] >> 32U);
    }
    [[nodiscard]] std::uint16_t GetSum(EAttribute attribute) const noexcept
    {
        return static_cast<std::uint16_t>(attributes[attribute / 4] >> 16U * (attribute % 4));
    }

    std::uint64_t pairs[3];
    std::uint32_t rank;     ///< the largest one
    std::uint32_t overflow; ///< kept by the owner: where surfels are that could not be added
    std::uint64_t attributes[2];
};

static_assert(sizeof(ZeCPackedGridCell) == 48);
