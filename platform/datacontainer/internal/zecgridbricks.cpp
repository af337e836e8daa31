#include "platform/datacontainer/internal/zecgridbricks.h"

#include "platform/base/cbprefetch.h"
#include "platform/datacontainer/internal/kernelbuilds.h"

#include <algorithm>
#include <bit>
#include <tuple>
#include <utility>

namespace
{

constexpr unsigned c_sparseShift = 1;
constexpr std::size_t c_firstTable = 4 * ZeCGridBricks::c_batch;
// Bricks shrink where fewer cells than this are used in each. On a surface that is scanned more
// densely than the grid, it is about 16.
constexpr std::size_t c_fewCells = 3;
constexpr std::size_t c_fewBricks = 2048; ///< too few to judge by

/// Where cells lie in their bricks.
struct Places
{
    std::uint32_t cells[ZeCGridBricks::c_batch];    ///< index in the brick
    std::uint32_t isChange[ZeCGridBricks::c_batch]; ///< 0 where the brick is the one before
};

CB_ALWAYS_INLINE void findPlaces(const std::int32_t* x, const std::int32_t* y,
                                 const std::int32_t* z, std::size_t count, unsigned shift,
                                 Places& to) noexcept
{
    const std::int32_t mask = (1 << shift) - 1;
    for (std::size_t i = 0; i < count; ++i) {
        to.cells[i] = static_cast<std::uint32_t>(((x[i] & mask) << shift | (y[i] & mask)) << shift |
                                                 (z[i] & mask));
    }
    for (std::size_t i = 1; i < count; ++i) {
        const std::int32_t changed = (x[i] ^ x[i - 1]) | (y[i] ^ y[i - 1]) | (z[i] ^ z[i - 1]);
        to.isChange[i] = static_cast<std::uint32_t>(changed) >> shift;
    }
}

} // namespace

ZeCGridBricks::ZeCGridBricks() : ZeCGridBricks(c_usualShift) {}

ZeCGridBricks::ZeCGridBricks(unsigned shift)
    : shift_(shift),
      table_(c_firstTable),
      hashShift_(64U - static_cast<unsigned>(std::countr_zero(c_firstTable)))
{}

void ZeCGridBricks::MakeRoom(std::size_t numberOfCells)
{
    if (numberOfBricks_ + c_batch <= table_.size() / 2) return;
    const bool sparse = shift_ == c_usualShift && numberOfBricks_ >= c_fewBricks &&
                        numberOfCells < c_fewCells * numberOfBricks_;
    if (!sparse) return grow();

    static_assert(c_mostVisited <= c_batch);
    ZeCGridBricks smaller(c_sparseShift);
    VisitInOrder([&](auto places) {
        smaller.MakeRoom(numberOfCells);
        for (const Place& place : places) {
            std::uint32_t* number;
            smaller.Find(&place.x, &place.y, &place.z, 1, &number);
            *number = place.number;
        }
    });
    *this = std::move(smaller);
    MakeRoom(numberOfCells);
}

void ZeCGridBricks::Find(const std::int32_t* x, const std::int32_t* y, const std::int32_t* z,
                         std::size_t count, std::uint32_t** numbers)
{
    if (count == 0) return;
    static const auto find = CbGetBuild<&findPlaces>();
    Places places;
    find(x, y, z, count, shift_, places);
    places.isChange[0] = 1;
    std::uint32_t* cells = nullptr;
    for (std::size_t i = 0; i < count; ++i) {
        if (places.isChange[i] != 0) {
            cells = findBrick(x[i] >> shift_, y[i] >> shift_, z[i] >> shift_);
        }
        numbers[i] = cells + places.cells[i];
        CbPrefetch(numbers[i]);
    }
}

ZeCGridBricks::Brick& ZeCGridBricks::slotOf(std::int32_t x, std::int32_t y, std::int32_t z) noexcept
{
    const auto bits = [](std::int32_t index) {
        return std::uint64_t{static_cast<std::uint32_t>(index)};
    };
    const std::uint64_t hash = (bits(x) * 0x9E3779B97F4A7C15U) ^ (bits(y) * 0xC2B2AE3D27D4EB4FU) ^
                               (bits(z) * 0xD6E8FEB86659FD93U);
    const std::size_t mask = table_.size() - 1;
    for (std::size_t slot = (hash * 0xFF51AFD7ED558CCDU) >> hashShift_;; slot = (slot + 1) & mask) {
        Brick& brick = table_[slot];
        if (brick.number == 0 || (brick.x == x && brick.y == y && brick.z == z)) return brick;
    }
}

std::uint32_t* ZeCGridBricks::findBrick(std::int32_t x, std::int32_t y, std::int32_t z)
{
    Brick& brick = slotOf(x, y, z);
    if (brick.number == 0) {
        const std::size_t cells = std::size_t{1} << 3 * shift_;
        numbers_.MakeRoom((numberOfBricks_ + std::size_t{1}) * cells);
        brick = {x, y, z, ++numberOfBricks_};
        std::fill_n(cellsOf(brick.number), cells, 0U);
    }
    return cellsOf(brick.number);
}

void ZeCGridBricks::grow()
{
    std::vector<Brick> bricks(2 * table_.size());
    table_.swap(bricks);
    --hashShift_;
    for (const Brick& brick : bricks) {
        if (brick.number != 0) slotOf(brick.x, brick.y, brick.z) = brick;
    }
}

std::vector<ZeCGridBricks::Brick> ZeCGridBricks::sortedBricks() const
{
    std::vector<Brick> bricks;
    bricks.reserve(numberOfBricks_);
    for (const Brick& brick : table_) {
        if (brick.number != 0) bricks.push_back(brick);
    }
    std::sort(bricks.begin(), bricks.end(), [](const Brick& a, const Brick& b) {
        return std::tie(a.x, a.y, a.z) < std::tie(b.x, b.y, b.z);
    });
    return bricks;
}
