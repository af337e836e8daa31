// How bins become the surfels of 125 grids. Along an axis, a cell of a shift is a window of five
// fine indices, so the sums of all bins are merged axis by axis, and what shifts of the later axes
// share is added up once:
//
//   step  takes                             merges five         gives, for each of five shifts
//   1     slabs: all bins of one x          slabs along x       a plane of bins by y and z
//   2     rows: a plane's bins of one y     rows along y        a line of bins by z
//   3     the bins of a line                bins along z        a cell, which gives a surfel
//
//      x  | | | | |          y  = = = = =          z  . . . . .
//         \_______/             \_______/             \_______/
//           plane                 line                  cell
//
// Merged are lists of (key, bin) in ascending order of their keys, five at a time at the most, as
// in a merge sort; bins with the same key are added up. A key holds y, z and the tissue type, so it
// is the key of all three steps: as a whole, without y, and for z alone.

#include "platform/datacontainer/sampling/zecshiftedgridsampler.h"

#include "platform/datacontainer/sampling/internal/zecshiftedbins.h"
#include "platform/datacontainer/surfels/zecsurfelcollectionqmt.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <vector>

namespace
{

constexpr std::size_t c_shifts = ZeCShiftedBin::c_shifts;

using KeyedBins = std::vector<ZeCKeyedBin>;

// Keys hold, from their upper bits on: y, z, tissue type. Indices are counted from where those of
// all shifts are positive, at a multiple of five so that whole cells stay whole.
constexpr std::uint32_t c_origin = ZeCShiftedBins::c_endOfIndices;
constexpr unsigned c_zBits = 28;
constexpr unsigned c_tissueBits = 8;
constexpr std::uint64_t c_keyWithoutY = (std::uint64_t{1} << (c_zBits + c_tissueBits)) - 1;

// The key of y = -2, z = 3 and type 1 holds c_origin - 2, c_origin + 3 and 1; c_origin is
// 0x2800000.
std::uint64_t fromOrigin(std::int32_t index)
{
    return static_cast<std::uint32_t>(index) + c_origin; // wraps around twice for negative ones
}
// With shift 1, fine indices 4 to 8 are cell 1: (4 + 1)/5 up to (8 + 1)/5. Counted from the origin
// dividends are positive, so that division rounds down.
std::int32_t cellOf(std::uint64_t indexFromOrigin, std::size_t shift)
{
    return static_cast<std::int32_t>((indexFromOrigin + shift) / c_shifts) -
           static_cast<std::int32_t>(c_origin / c_shifts);
}
std::uint64_t keyOf(std::int32_t y, std::int32_t z, std::uint8_t tissueType)
{
    return (fromOrigin(y) << c_zBits | fromOrigin(z)) << c_tissueBits | tissueType;
}
std::uint64_t yOf(std::uint64_t key) { return key >> (c_zBits + c_tissueBits); }
std::uint64_t zOf(std::uint64_t key) { return (key & c_keyWithoutY) >> c_tissueBits; }

/// Adds up bins of equal keys from several rows.
class Merger
{
public:
    /// Adds a row of bins, which is not empty and ascends by the bits of its keys that are merged.
    void AddRow(std::span<const ZeCKeyedBin> row) { rows_.push_back(row); }
    /// Returns the sums of the bins of all rows that were added since the last call, ascending by
    /// those bits of the keys that @p mask has. They live until the next call.
    const KeyedBins& Merge(std::uint64_t mask);

private:
    std::vector<std::span<const ZeCKeyedBin>> rows_;
    std::vector<ZeCShiftedBin> sums_;
    KeyedBins merged_;
};

const KeyedBins& Merger::Merge(std::uint64_t mask)
{
    // A sum is made only for keys that several rows have; the bin itself stands for any other.
    std::size_t most = 0;
    for (const auto& row : rows_) most += row.size();
    merged_.clear();
    sums_.clear();
    sums_.reserve(most / 2); // each sum is of two bins or more, and must not move
    while (!rows_.empty()) {
        // At most five rows: looking at all of them is faster than a heap.
        std::uint64_t least = rows_[0].front().key & mask;
        for (const auto& row : rows_) least = std::min(least, row.front().key & mask);
        const ZeCShiftedBin* found = nullptr;
        ZeCShiftedBin* sum = nullptr;
        for (std::size_t i = 0; i < rows_.size();) {
            auto& row = rows_[i];
            if ((row.front().key & mask) != least) {
                ++i;
                continue;
            }
            const ZeCShiftedBin* const bin = row.front().bin;
            if (found == nullptr) {
                found = bin;
            } else {
                if (sum == nullptr) found = sum = &sums_.emplace_back(*found);
                sum->Add(*bin);
            }
            row = row.subspan(1);
            if (row.empty()) {
                rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(i));
            } else {
                ++i;
            }
        }
        merged_.push_back({least, found});
    }
    return merged_;
}

/// The sums of one cell of one grid, bin after bin.
class CellSums
{
public:
    void Add(const ZeCShiftedBin& bin, const std::array<std::size_t, 3>& shift)
    {
        using Bin = ZeCShiftedBin;
        cell_.weight += bin.sums[Bin::Weight];
        cell_.count += static_cast<std::uint32_t>(bin.sums[Bin::Count]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            cell_.position[axis] += bin.sums[Bin::Position + axis * c_shifts + shift[axis]];
            cell_.normal[axis] += bin.sums[Bin::Normal + axis];
            cell_.color[axis] += bin.sums[Bin::Color + axis];
        }
        cell_.curvature += bin.sums[Bin::Curvature];
        cell_.quality += bin.sums[Bin::Quality];
        cell_.boundary += bin.sums[Bin::Boundary];
        cell_.heaviest = std::max(cell_.heaviest, bin.heaviest);
        const auto tissue = std::find_if(tissues_.begin(), tissues_.end(), [&](const auto& other) {
            return other.type == bin.tissueType;
        });
        if (tissue != tissues_.end()) {
            tissue->weight += bin.sums[Bin::Weight];
        } else {
            tissues_.push_back({bin.sums[Bin::Weight], bin.tissueType});
        }
    }
    /// Returns the surfel of the cell, and starts with the next one.
    ZeCSurfel Take(const std::array<std::int32_t, 3>& index, const ZeCGrid& grid,
                   float samplingParameter)
    {
        const auto heaviest =
            std::max_element(tissues_.begin(), tissues_.end(), [](const auto& a, const auto& b) {
                return ZeCOutweighs(b.weight, b.type, a.weight, a.type);
            });
        const ZeCSurfel surfel = cell_.GetMeans(index, grid, samplingParameter, heaviest->type);
        cell_ = {};
        tissues_.clear();
        return surfel;
    }

private:
    struct Tissue
    {
        std::uint64_t weight;
        std::uint8_t type;
    };

    ZeCGridCell cell_{};
    std::vector<Tissue> tissues_;
};

/// Bins of one x or y, as a part of those that are ascending by it.
struct Row
{
    std::uint64_t index; ///< the fine one, from the origin
    std::span<const ZeCKeyedBin> bins;
};

/// Calls `visit(cell)` for each cell on an axis, after its rows have been given to a merger.
template<class Visit>
void mergeRows(const std::vector<Row>& rows, std::size_t shift, Merger& merger, Visit&& visit)
{
    for (auto row = rows.begin(); row != rows.end();) {
        const std::int32_t cell = cellOf(row->index, shift);
        for (; row != rows.end() && cellOf(row->index, shift) == cell; ++row) {
            merger.AddRow(row->bins);
        }
        visit(cell);
    }
}

std::vector<Row> rowsOf(const KeyedBins& plane)
{
    std::vector<Row> rows;
    for (auto first = plane.begin(); first != plane.end();) {
        const std::uint64_t y = yOf(first->key);
        const auto last =
            std::find_if(first, plane.end(), [y](const auto& bin) { return yOf(bin.key) != y; });
        rows.push_back({y, {first, last}});
        first = last;
    }
    return rows;
}

class Sampling
{
public:
    Sampling(const ZeCShiftedBins& bins, float samplingParameter);

    void AppendTo(ZeCSurfelContainer& destination);

private:
    void sampleRow(std::int32_t x, std::int32_t y, const KeyedBins& row,
                   const std::array<std::size_t, 3>& shift);
    // Makes room for the samples of all shifts in x, which are about as many as those of the first.
    void makeRoom(ZeCSurfelContainer& destination) const;
    void appendSamples(std::size_t shiftX, ZeCSurfelContainer& destination);

    const ZeCShiftedBins& bins_;
    const float samplingParameter_;
    KeyedBins fine_;
    std::vector<Row> slabs_; ///< of fine_, by x
    CellSums cell_;
    /// Of the grids of one shift in x: by the shifts in y and in z.
    std::vector<ZeCSurfel> samples_[c_shifts][c_shifts];
};

Sampling::Sampling(const ZeCShiftedBins& bins, float samplingParameter)
    : bins_(bins), samplingParameter_(samplingParameter)
{
    fine_.reserve(bins.GetCount());
    bins.VisitInOrder([&](auto x, auto y, auto z, const ZeCShiftedBin& bin) {
        const std::uint64_t index = fromOrigin(x);
        if (slabs_.empty() || slabs_.back().index != index) {
            slabs_.push_back({index, {fine_.data() + fine_.size(), 0}});
        }
        fine_.push_back({keyOf(y, z, bin.tissueType), &bin});
        slabs_.back().bins = {slabs_.back().bins.data(), slabs_.back().bins.size() + 1};
    });
}

void Sampling::AppendTo(ZeCSurfelContainer& destination)
{
    // Samples are collected for all shifts in y and z of one shift in x, since the merged rows of a
    // slab come in the order of their cells, and not grid by grid.
    Merger slabMerger;
    Merger rowMerger;
    std::array<std::size_t, 3> shift{};
    for (shift[0] = 0; shift[0] < c_shifts; ++shift[0]) {
        mergeRows(slabs_, shift[0], slabMerger, [&](std::int32_t x) {
            const std::vector<Row> rows = rowsOf(slabMerger.Merge(~std::uint64_t{0}));
            for (shift[1] = 0; shift[1] < c_shifts; ++shift[1]) {
                mergeRows(rows, shift[1], rowMerger, [&](std::int32_t y) {
                    const KeyedBins& row = rowMerger.Merge(c_keyWithoutY);
                    for (shift[2] = 0; shift[2] < c_shifts; ++shift[2]) {
                        sampleRow(x, y, row, shift);
                    }
                });
            }
        });
        if (shift[0] == 0) makeRoom(destination);
        appendSamples(shift[0], destination);
    }
}

void Sampling::makeRoom(ZeCSurfelContainer& destination) const
{
    std::size_t first = 0;
    for (const auto& row : samples_) {
        for (const auto& samples : row) first += samples.size();
    }
    const std::size_t all = destination.GetNrSurfels() + first * c_shifts + first / 16;
    constexpr std::size_t c_most = std::numeric_limits<std::uint32_t>::max();
    destination.Reserve(static_cast<std::uint32_t>(std::min(all, c_most)));
}

void Sampling::sampleRow(std::int32_t x, std::int32_t y, const KeyedBins& row,
                         const std::array<std::size_t, 3>& shift)
{
    std::vector<ZeCSurfel>& samples = samples_[shift[1]][shift[2]];
    for (auto bin = row.begin(); bin != row.end();) {
        const std::int32_t z = cellOf(zOf(bin->key), shift[2]);
        for (; bin != row.end() && cellOf(zOf(bin->key), shift[2]) == z; ++bin) {
            cell_.Add(*bin->bin, shift);
        }
        samples.push_back(cell_.Take({x, y, z}, bins_.GetGrid(), samplingParameter_));
    }
}

void Sampling::appendSamples(std::size_t shiftX, ZeCSurfelContainer& destination)
{
    for (std::size_t y = 0; y < c_shifts; ++y) {
        for (std::size_t z = 0; z < c_shifts; ++z) {
            std::vector<ZeCSurfel>& samples = samples_[y][z];
            const auto grid = CbMake<ZeCSurfelCollectionQMT>(
                static_cast<std::uint32_t>(samples.size()), false,
                ZeCSurfelContainer::ESurfelAttributeSet::Subsampled, nullptr);
            const ZeCSurfelWriter writer(*grid);
            for (std::size_t i = 0; i < samples.size(); ++i) writer.Write(i, samples[i]);
            // By the container's own mapping, whose bits are those of single runs.
            CbMatrix4Rf back;
            const auto& shifts = bins_.GetShifts();
            back[3][0] = -shifts[shiftX];
            back[3][1] = -shifts[y];
            back[3][2] = -shifts[z];
            destination.Append(*grid, back);
            samples.clear();
        }
    }
}

} // namespace

class ZeCShiftedGridSampler::Bins : public ZeCShiftedBins
{
public:
    using ZeCShiftedBins::ZeCShiftedBins;
};

ZeCShiftedGridSampler::ZeCShiftedGridSampler(float cellSize, float offset, float qualityGain,
                                             const Shifts& shifts)
    : bins_(std::make_unique<Bins>(ZeCGrid(cellSize, offset), qualityGain, shifts))
{}

ZeCShiftedGridSampler::~ZeCShiftedGridSampler() = default;

bool ZeCShiftedGridSampler::AddSurfels(const ZeCSurfelContainer& surfels,
                                       const CbMatrix4Rf& transformation)
{
    return bins_->Add(surfels, transformation);
}

void ZeCShiftedGridSampler::AppendSubsampled(ZeCSurfelContainer& destination,
                                             float samplingParameter) const
{
    Sampling(*bins_, samplingParameter).AppendTo(destination);
}
