#include "platform/datacontainer/sampling/internal/zecgridbricks.h"

#include "platform/base/cbprefetch.h"
#include "platform/datacontainer/surfels/internal/kernelbuilds.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>
#include <utility>

namespace
{

constexpr unsigned c_sparseShift = 1; // of bricks of 2x2x2
constexpr std::size_t c_firstTable = 4 * ZeCGridBricks::c_batch;
// Bricks shrink if fewer cells than this are used in each. On a surface that is scanned more
// densely than the grid, it is about 16.
constexpr std::size_t c_fewCells = 3;
constexpr std::size_t c_fewBricks = 2048; ///< too few to judge by

/// Where cells lie in their bricks.
struct CellsInBricks
{
    std::uint32_t cells[ZeCGridBricks::c_batch];    ///< index in the brick
    std::uint32_t isChange[ZeCGridBricks::c_batch]; ///< 0 if the brick is the one before
};

CB_ALWAYS_INLINE void findInBricks(const std::int32_t* x, const std::int32_t* y,
                                   const std::int32_t* z, std::size_t count, unsigned shift,
                                   CellsInBricks& to) noexcept
{
    // Two's complement: masking and shifting round down for negative indices, too.
    const std::int32_t mask = (1 << shift) - 1;
    for (std::size_t i = 0; i < count; ++i) {
        to.cells[i] = static_cast<std::uint32_t>(((x[i] & mask) << shift | (y[i] & mask)) << shift |
                                                 (z[i] & mask));
    }
    // The brick is another one if a bit above the place in it differs on any axis.
    to.isChange[0] = 1;
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

inline std::size_t ZeCGridBricks::firstSlotOf(std::int32_t x, std::int32_t y,
                                              std::int32_t z) const noexcept
{
    // Multiplicative hashing (Knuth, The Art of Computer Programming 6.4): the product of an index
    // and an odd constant with irregular bits spreads each bit of the index over the higher ones. A
    // constant for each axis, or (1, 2, 3) and (2, 1, 3) would meet. The exclusive or mixes the
    // axes, one more product carries what that left in low bits upwards, and the highest bits,
    // which depend on all others, are the slot: with 1024 slots, hashShift_ is 54 and leaves ten of
    // them.
    const auto bits = [](std::int32_t index) {
        return std::uint64_t{static_cast<std::uint32_t>(index)};
    };
    const std::uint64_t hash = (bits(x) * 0x9E3779B97F4A7C15U) ^ (bits(y) * 0xC2B2AE3D27D4EB4FU) ^
                               (bits(z) * 0xD6E8FEB86659FD93U);
    return (hash * 0xFF51AFD7ED558CCDU) >> hashShift_;
}

inline ZeCGridBricks::Brick& ZeCGridBricks::slotOf(std::size_t firstSlot, std::int32_t x,
                                                   std::int32_t y, std::int32_t z) noexcept
{
    // Linear probing. At most half of the table is used, so a free slot is never far.
    const std::size_t mask = table_.size() - 1;
    for (std::size_t slot = firstSlot;; slot = (slot + 1) & mask) {
        Brick& brick = table_[slot];
        if (brick.number == 0 || (brick.x == x && brick.y == y && brick.z == z)) return brick;
    }
}

void ZeCGridBricks::MakeRoom(std::size_t numberOfCells)
{
    if (numberOfBricks_ + c_batch <= table_.size() / 2) return;
    const bool sparse = shift_ == c_usualShift && numberOfBricks_ >= c_fewBricks &&
                        numberOfCells < c_fewCells * numberOfBricks_;
    if (!sparse) return grow();

    // Numbers of cells stay as they are, so whatever they stand for stays where it is.
    ZeCGridBricks smaller(c_sparseShift);
    VisitInOrder(numberOfCells, [&](auto places) {
        for (const Place& place : places) {
            smaller.MakeRoom(numberOfCells);
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
    static const auto find = CbFastestBuild<&findInBricks>();
    CellsInBricks inBricks;
    find(x, y, z, count, shift_, inBricks);

    // Processors can't foresee where the brick changes: changes are found first, then looked up.
    // Compaction without branches: each index is written, and stays written only if the position
    // goes on behind it. From isChange 1 0 0 1 come the changes 0 3.
    std::uint16_t changes[c_batch + 1];
    std::size_t numberOfChanges = 0;
    for (std::size_t i = 0; i < count; ++i) {
        changes[numberOfChanges] = static_cast<std::uint16_t>(i);
        numberOfChanges += inBricks.isChange[i] != 0 ? 1 : 0;
    }
    std::size_t slots[c_batch];
    for (std::size_t c = 0; c < numberOfChanges; ++c) {
        const std::size_t i = changes[c];
        slots[c] = firstSlotOf(x[i] >> shift_, y[i] >> shift_, z[i] >> shift_);
        CbPrefetchEarly(&table_[slots[c]]);
    }
    // Slots have arrived in the cache by now, as the cells will have when their turn comes.
    std::uint32_t* bricks[c_batch + 1]; // the first one is not used
    for (std::size_t c = 0; c < numberOfChanges; ++c) {
        const std::size_t i = changes[c];
        const std::int32_t brickX = x[i] >> shift_, brickY = y[i] >> shift_,
                           brickZ = z[i] >> shift_;
        Brick& slot = slotOf(slots[c], brickX, brickY, brickZ);
        if (slot.number == 0) makeBrick(slot, brickX, brickY, brickZ);
        bricks[c + 1] = cellsOf(slot.number);
    }
    std::size_t brick = 0;
    for (std::size_t i = 0; i < count; ++i) {
        brick += inBricks.isChange[i] != 0 ? 1 : 0;
        numbers[i] = bricks[brick] + inBricks.cells[i];
        CbPrefetchEarly(numbers[i]);
    }
}

// Bricks take numbers in the order of their making; their cells lie in the same order.
void ZeCGridBricks::makeBrick(Brick& slot, std::int32_t x, std::int32_t y, std::int32_t z)
{
    const std::size_t cells = std::size_t{1} << 3 * shift_;
    numbers_.MakeRoom((numberOfBricks_ + std::size_t{1}) * cells);
    slot = {x, y, z, ++numberOfBricks_};
    std::fill_n(cellsOf(slot.number), cells, 0U);
}

void ZeCGridBricks::grow()
{
    std::vector<Brick> bricks(2 * table_.size());
    table_.swap(bricks);
    --hashShift_;
    for (const Brick& brick : bricks) {
        if (brick.number == 0) continue;
        slotOf(firstSlotOf(brick.x, brick.y, brick.z), brick.x, brick.y, brick.z) = brick;
    }
}

std::uint64_t ZeCGridBricks::maskOf(const Brick& brick) const noexcept
{
    const std::uint32_t* const numbers = cellsOf(brick.number);
    std::uint64_t mask = 0;
    if (shift_ == c_usualShift) {
        // SWAR: eight bytes in a register at a time. Of bytes that are 0 or 1, the product has the
        // lowest bits side by side in its highest byte: with a factor whose bit 56 - 7*k is set for
        // k = 0 to 7, byte k (bit 8*k) also lands at bit 56 + k. No two terms meet, so nothing is
        // carried. Bytes 1 0 1 0 0 0 0 0, the lowest first, give 00000101.
        std::uint8_t isUsed[64];
        for (std::size_t i = 0; i < 64; ++i) isUsed[i] = numbers[i] != 0 ? 1 : 0;
        for (std::size_t i = 0; i < 64; i += 8) {
            std::uint64_t bytes;
            std::memcpy(&bytes, isUsed + i, sizeof bytes);
            mask |= (bytes * 0x0102040810204080U) >> 56U << i;
        }
    } else {
        for (std::size_t i = 0; i < 8; ++i) mask |= std::uint64_t{numbers[i] != 0} << i;
    }
    return mask;
}

ZeCGridBricks::Slabs::Slabs(const ZeCGridBricks& bricks, std::size_t numberOfCells) : owner_(bricks)
{
    // Free slots can't be foreseen: each is written, too, to where the next brick goes.
    bricks_.resize(bricks.numberOfBricks_ + std::size_t{1});
    std::size_t found = 0;
    for (const Brick& brick : bricks.table_) {
        bricks_[found] = brick;
        found += brick.number != 0 ? 1 : 0;
    }
    bricks_.pop_back();
    for (const auto axis : {&Brick::z, &Brick::y, &Brick::x}) sortBy(axis);
    std::size_t most = 0; // in one slab
    for (std::size_t i = 0, first = 0; i < bricks_.size(); ++i) {
        if (bricks_[i].x != bricks_[first].x) first = i;
        most = std::max(most, i - first + 1);
    }
    masks_.resize(most);
    rows_.resize(most);
    places_ =
        std::make_unique_for_overwrite<Place[]>(std::min(numberOfCells, most << 3 * bricks.shift_));
}

void ZeCGridBricks::Slabs::sortBy(std::int32_t Brick::*axis)
{
    // Radix sort, digit by digit from the lowest one on; each digit by a counting sort, which keeps
    // the order of equal ones. As many digits as the range of the indices has: mostly one.
    constexpr unsigned c_digit = 10;
    constexpr std::uint32_t c_mask = (1U << c_digit) - 1;
    if (bricks_.empty()) return;
    const auto [least, most] =
        std::minmax_element(bricks_.begin(), bricks_.end(),
                            [=](const Brick& a, const Brick& b) { return a.*axis < b.*axis; });
    const auto first = static_cast<std::uint32_t>((*least).*axis);
    std::uint32_t last = static_cast<std::uint32_t>((*most).*axis) - first;
    std::vector<Brick> sorted(bricks_.size());
    for (unsigned shift = 0; last != 0; shift += c_digit, last >>= c_digit) {
        const auto digitOf = [=](const Brick& brick) {
            return (static_cast<std::uint32_t>(brick.*axis) - first) >> shift & c_mask;
        };
        std::array<std::uint32_t, c_mask + 1> counts{};
        for (const Brick& brick : bricks_) ++counts[digitOf(brick)];
        auto& starts = counts; // from here on
        std::exclusive_scan(counts.begin(), counts.end(), starts.begin(), 0U);
        for (const Brick& brick : bricks_) sorted[starts[digitOf(brick)]++] = brick;
        bricks_.swap(sorted);
    }
}

bool ZeCGridBricks::Slabs::Next() noexcept
{
    if (end_ == bricks_.size()) return false;
    first_ = end_;
    while (end_ < bricks_.size() && bricks_[end_].x == bricks_[first_].x) ++end_;
    countCells();
    startsFromCounts();
    placeCells();
    return true;
}

void ZeCGridBricks::Slabs::countCells() noexcept
{
    constexpr std::size_t c_ahead = 16;
    const unsigned shift = owner_.shift_;
    const unsigned length = 1U << shift; // of what differs in z alone
    numberOfRows_ = 0;
    for (std::size_t i = first_; i < end_; ++i) {
        if (bricks_.size() - i > c_ahead) {
            const std::uint32_t* const cells = owner_.cellsOf(bricks_[i + c_ahead].number);
            for (unsigned x = 0; x < length; ++x) CbPrefetchEarly(cells + (x << 2 * shift));
        }
        const std::uint64_t mask = owner_.maskOf(bricks_[i]);
        masks_[i - first_] = mask;
        // The first steps of the SWAR population count (Warren, Hacker's Delight 5-1): the number
        // of bits in pairs, then in fours, which are the runs of a brick. The pairs 11 10 become 10
        // 01 by subtracting their upper bits from them, and the four 1110 becomes 2 + 1 = 0011.
        std::uint64_t counts = mask - (mask >> 1U & 0x5555555555555555U);
        if (shift == c_usualShift) {
            counts = (counts & 0x3333333333333333U) + (counts >> 2U & 0x3333333333333333U);
        }
        if (startsRow(i)) rows_[numberOfRows_++] = {};
        Row& counted = rows_[numberOfRows_ - 1];
        for (unsigned run = 0; run < length * length; ++run) {
            counted[run] +=
                static_cast<std::uint32_t>(counts >> run * length & ((1U << length) - 1));
        }
    }
}

void ZeCGridBricks::Slabs::startsFromCounts() noexcept
{
    // In the order of the cells: x in the bricks, row, y in the bricks.
    const std::size_t side = std::size_t{1} << owner_.shift_;
    std::uint32_t next = 0;
    for (std::size_t x = 0; x < side; ++x) {
        for (std::size_t row = 0; row < numberOfRows_; ++row) {
            for (std::size_t y = 0; y < side; ++y) {
                const std::uint32_t count = rows_[row][x * side + y];
                std::uint32_t& start = rows_[row][x * side + y];
                start = next;
                next += count;
            }
        }
    }
    numberOfPlaces_ = next;
}

void ZeCGridBricks::Slabs::placeCells() noexcept
{
    const unsigned shift = owner_.shift_;
    const std::int32_t mask = (1 << shift) - 1;
    std::size_t numberOfRows = 0;
    for (std::size_t i = first_; i < end_; ++i) {
        const Brick& brick = bricks_[i];
        if (startsRow(i)) ++numberOfRows;
        Row& starts = rows_[numberOfRows - 1];
        const std::uint32_t* const numbers = owner_.cellsOf(brick.number);
        // The lowest bit is found by counting zeros, and cleared by rest & (rest - 1): of 1100, the
        // cell is 2, and 1100 & 1011 is 1000.
        for (std::uint64_t rest = masks_[i - first_]; rest != 0; rest &= rest - 1) {
            const int cell = std::countr_zero(rest);
            places_[starts[static_cast<std::size_t>(cell >> shift)]++] = {
                (brick.x << shift) + (cell >> 2 * shift),
                (brick.y << shift) + (cell >> shift & mask), (brick.z << shift) + (cell & mask),
                numbers[cell]};
        }
    }
}
