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

    /// What a surfel adds to each word. Two sums of 32 bits stand in the first three, four sums of
    /// 16 bits in the others; the first one of a word in its lowest bits.
    enum EWord
    {
        PositionXY,
        PositionZNormalX,
        NormalYZ,
        Color, ///< red, green, blue
        Rest,  ///< quality, curvature, boundary, count
        NumberOfWords
    };
    static constexpr std::uint64_t PackPair(std::uint32_t first, std::uint32_t second) noexcept
    {
        return first | std::uint64_t{second} << 32U;
    }
    /// @param color bytes of a ZeCCompressedColor, from the lowest bits on
    static constexpr std::uint64_t PackColor(std::uint32_t color) noexcept
    {
        const std::uint64_t bytes = color;
        return (bytes & 0xFFU) | (bytes & 0xFF00U) << 8U | (bytes & 0xFF0000U) << 16U;
    }
    /// @param boundary 1 for a surfel on one, else 0
    static constexpr std::uint64_t PackRest(std::uint8_t quality, std::uint8_t curvature,
                                            std::uint8_t boundary) noexcept
    {
        return quality | std::uint64_t{curvature} << 16U | std::uint64_t{boundary} << 32U |
               std::uint64_t{1} << 48U;
    }
    /// What is largest for the surfel of a tissue type with the smallest code of the normal.
    static constexpr std::uint32_t RankOf(std::uint8_t tissueType, std::uint16_t code) noexcept
    {
        return std::uint32_t{tissueType} << 16U | (0xFFFFU - code);
    }

    [[nodiscard]] std::uint32_t GetCount() const noexcept { return sum16(Rest, 3); }
    [[nodiscard]] std::uint8_t GetTissueType() const noexcept
    {
        return static_cast<std::uint8_t>(rank >> 16U);
    }
    /// Whether a surfel can be added: it has the tissue type of the others, and they are not too
    /// many.
    [[nodiscard]] bool CanAdd(std::uint32_t rankOfSurfel) const noexcept
    {
        return (rank ^ rankOfSurfel) >> 16U == 0 && GetCount() < c_mostSurfels;
    }
    /// Adds the surfels of another cell, which may be a single one.
    void Add(const ZeCPackedGridCell& other) noexcept
    {
        for (int word = 0; word < NumberOfWords; ++word) words[word] += other.words[word];
        if (rank < other.rank) rank = other.rank;
    }
    /// Adds the same surfels to another cell, where each weighs 1, but for their tissue type.
    void AddTo(ZeCGridCell& cell) const noexcept;
    /// As of ZeCGridCell.
    [[nodiscard]] ZeCSurfel GetMeans(const std::array<std::int32_t, 3>& index, const ZeCGrid& grid,
                                     float samplingParameter) const noexcept;

    std::uint64_t words[NumberOfWords];
    std::uint32_t rank;     ///< the largest one
    std::uint32_t overflow; ///< kept by the owner: where surfels are that could not be added

private:
    [[nodiscard]] ZeCQuantizedNormal code() const noexcept
    {
        return ZeCQuantizedNormal::FromCode(static_cast<std::uint16_t>(~rank));
    }
    [[nodiscard]] std::uint32_t sum32(EWord word, unsigned place) const noexcept
    {
        return static_cast<std::uint32_t>(words[word] >> 32U * place);
    }
    [[nodiscard]] std::uint16_t sum16(EWord word, unsigned place) const noexcept
    {
        return static_cast<std::uint16_t>(words[word] >> 16U * place);
    }
};

static_assert(sizeof(ZeCPackedGridCell) == 48);
