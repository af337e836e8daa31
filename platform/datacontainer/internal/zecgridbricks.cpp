#include "platform/datacontainer/internal/zecgridbricks.h"

#include <algorithm>
#include <bit>
#include <tuple>
#include <utility>

namespace
{

constexpr unsigned c_usualShift = 3;
constexpr unsigned c_sparseShift = 1;
constexpr std::size_t c_firstTable = 4 * ZeCGridBricks::c_batch;
// Bricks shrink where fewer cells than this are used in each. On a surface that is scanned more
// densely than the grid, it is about 64.
constexpr std::size_t c_fewCells = 8;
constexpr std::size_t c_fewBricks = 2048; ///< too few to judge by

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

    ZeCGridBricks smaller(c_sparseShift);
    std::size_t moved = 0;
    VisitInOrder([&](auto x, auto y, auto z, auto number) {
        if (moved++ % c_batch == 0) smaller.MakeRoom(numberOfCells);
        *smaller.Find(x, y, z) = number;
    });
    *this = std::move(smaller);
    MakeRoom(numberOfCells);
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

void ZeCGridBricks::findBrick(std::int32_t x, std::int32_t y, std::int32_t z)
{
    Brick& brick = slotOf(x, y, z);
    if (brick.number == 0) {
        const std::size_t cells = std::size_t{1} << 3 * shift_;
        numbers_.MakeRoom((numberOfBricks_ + std::size_t{1}) * cells);
        brick = {x, y, z, ++numberOfBricks_};
        std::fill_n(cellsOf(brick.number), cells, 0U);
    }
    last_ = brick;
    lastCells_ = cellsOf(brick.number);
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
