#include "platform/datacontainer/sampling/internal/zecshiftedbins.h"

#include "platform/base/cbprefetch.h"
#include "platform/datacontainer/surfels/zecsurfelcontainer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

namespace
{

constexpr std::size_t c_shifts = ZeCShiftedBin::c_shifts;
constexpr std::uint32_t c_mostSurfels = 1U << 24U; ///< whose sums of positions need no carrying

CbMatrix4Rf shiftBy(float shift)
{
    CbMatrix4Rf matrix;
    for (int axis = 0; axis < 3; ++axis) matrix[3][axis] = shift;
    return matrix;
}

// True if a shift on one axis moves positions on this axis alone.
bool isFiniteAndAffine(const CbMatrix4Rf& m)
{
    return std::all_of(m.data(), m.data() + 16, [](float value) { return std::isfinite(value); }) &&
           IsAffine(m);
}

} // namespace

/// Surfels on their way into bins.
struct ZeCShiftedBins::Batch
{
    /// Finds the fine indices of surfels. Returns false if there are none that tell all.
    [[nodiscard]] bool FindIndices(std::size_t count);
    /// Adds the accepted surfels, which are those from @p first on, to their bins.
    void AddToBins(const ZeCSurfelContainer& surfels, std::size_t first,
                   const std::array<std::uint16_t, 256>& weights) const noexcept;

    ZeCGridBatch shifted[c_shifts]; ///< each shift on all axes; the first one with the normals
    std::int32_t indices[3][ZeCGridBatch::c_size]; ///< fine ones
    std::uint16_t accepted[ZeCGridBatch::c_size];
    std::size_t numberOfAccepted;
    ZeCShiftedBin* bins[ZeCGridBatch::c_size]; ///< of the accepted ones
};

bool ZeCShiftedBins::Batch::FindIndices(std::size_t count)
{
    // The cells of the five shifts, such as 0 0 1 1 1, are added up to the fine index, here 3. It
    // tells them all if they ascend by one step at the most. Single precision may break that far
    // from the origin, where a shift is smaller than the distance between two numbers.
    // Further off, fine indices would not fit into keys.
    constexpr std::int64_t c_farOff = c_endOfIndices / std::int64_t{c_shifts} - 1;
    constexpr std::int64_t c_outside = ZeCGridBatch::c_firstOutside;
    numberOfAccepted = 0;
    for (std::size_t surfel = 0; surfel < count; ++surfel) {
        bool isOutside = false;
        bool isTold = true;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::int64_t first = shifted[0].indices[axis][surfel];
            std::int64_t fine = first;
            std::int64_t before = first;
            bool isOutsideHere = std::abs(first) >= c_outside;
            isTold = isTold && std::abs(first) < c_farOff;
            for (std::size_t shift = 1; shift < c_shifts; ++shift) {
                const std::int64_t index = shifted[shift].indices[axis][surfel];
                isOutsideHere = isOutsideHere && std::abs(index) >= c_outside;
                isTold = isTold && before <= index && index <= first + 1;
                before = index;
                fine += index;
            }
            isOutside = isOutside || isOutsideHere;
            // Stays only if the surfel is accepted below.
            indices[axis][numberOfAccepted] = static_cast<std::int32_t>(fine);
        }
        if (isOutside) continue; // on every shift, whatever the other axes do
        if (!isTold) return false;
        accepted[numberOfAccepted++] = static_cast<std::uint16_t>(surfel);
    }
    return true;
}

void ZeCShiftedBins::Batch::AddToBins(const ZeCSurfelContainer& surfels, std::size_t first,
                                      const std::array<std::uint16_t, 256>& weights) const noexcept
{
    const auto colors = surfels.GetColorAccessor();
    const auto qualities = surfels.GetQualityAccessor();
    const auto boundaryFlags = surfels.GetBoundaryFlagAccessor();
    const auto curvatures = surfels.GetCurvatureAccessor();
    const ZeCGridBatch& loaded = shifted[0];
    for (std::size_t a = 0; a < numberOfAccepted; ++a) {
        // A bin adds up what one cell of any grid would, but positions from the lower corners
        // of the cells of all shifts: which cell it will be counted to is not known yet.
        const std::size_t i = accepted[a];
        const std::uint8_t quality = qualities.data()[first + i];
        const std::uint64_t weight = weights[quality];
        const ZeCCompressedColor color = colors[first + i];
        ZeCShiftedBin& bin = *bins[a];
        const auto add = [&](std::size_t sum, std::uint64_t value) { bin.sums[sum] += value; };
        add(ZeCShiftedBin::Weight, weight);
        add(ZeCShiftedBin::Count, 1);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            add(ZeCShiftedBin::Normal + axis, weight * loaded.normals[axis][i]);
            for (std::size_t shift = 0; shift < c_shifts; ++shift) {
                add(ZeCShiftedBin::Position + axis * c_shifts + shift,
                    weight * shifted[shift].fractions[axis][i]);
            }
        }
        add(ZeCShiftedBin::Color, weight * color.r);
        add(ZeCShiftedBin::Color + 1, weight * color.g);
        add(ZeCShiftedBin::Color + 2, weight * color.b);
        add(ZeCShiftedBin::Curvature, weight * curvatures[first + i]);
        add(ZeCShiftedBin::Quality, weight * quality);
        if (boundaryFlags[first + i]) add(ZeCShiftedBin::Boundary, weight);
        bin.heaviest =
            std::max(bin.heaviest, ZeCGridCell::RankOf(weights[quality], loaded.codes[i]));
    }
}

ZeCShiftedBins::ZeCShiftedBins(const ZeCGrid& grid, float qualityGain, const Shifts& shifts)
    : grid_(grid), shifts_(shifts), weights_(ZeCGridWeights(qualityGain))
{}

bool ZeCShiftedBins::Add(const ZeCSurfelContainer& surfels, const CbMatrix4Rf& transformation)
{
    const std::uint32_t added = surfels.GetNrSurfels();
    if (!isFiniteAndAffine(transformation) || added > c_mostSurfels - numberPassedIn_ ||
        ZeCAreEqual(weights_)) { // sums of another kind
        return false;
    }
    numberPassedIn_ += added;

    // Surfels are mapped once for each shift, on all axes together, and not shifted afterwards: the
    // bits of a position depend on when the shift is added.
    std::vector<ZeCSurfelTransformation> maps;
    for (const float shift : shifts_) maps.emplace_back(Compose(transformation, shiftBy(shift)));

    const auto positions = surfels.GetPositionAccessor();
    const auto normals = surfels.GetNormalAccessor();
    const auto tissueTypes = surfels.GetTissueTypeAccessor();
    const auto batch = std::make_unique<Batch>();
    for (std::size_t first = 0, n = 0; first < added; first += n) {
        n = std::min(added - first, ZeCGridBatch::c_size);
        for (std::size_t shift = 0; shift < c_shifts; ++shift) {
            batch->shifted[shift].LoadPositions(positions.subspan(first, n), maps[shift], grid_);
        }
        batch->shifted[0].LoadNormals(normals.subspan(first, n), maps[0]);
        if (!batch->FindIndices(n)) return false;
        findBins(*batch, tissueTypes.data() + first);
        batch->AddToBins(surfels, first, weights_);
    }
    return true;
}

void ZeCShiftedBins::findBins(Batch& batch, const std::uint8_t* tissueTypes)
{
    // The bricks take fine indices for cells: their numbers are those of bins.
    bricks_.MakeRoom(count_);
    std::uint32_t* numbers[ZeCGridBatch::c_size];
    bricks_.Find(batch.indices[0], batch.indices[1], batch.indices[2], batch.numberOfAccepted,
                 numbers);
    for (std::size_t a = 0; a < batch.numberOfAccepted; ++a) {
        const std::uint8_t tissueType = tissueTypes[batch.accepted[a]];
        // The bins of one place are in ascending order of their tissue types.
        std::uint32_t* number = numbers[a];
        while (*number != 0 && bin(*number).tissueType < tissueType) number = &bin(*number).next;
        if (*number == 0 || bin(*number).tissueType != tissueType) {
            *number = makeBin(tissueType, *number);
        }
        // Bins are several cache lines long; they are added to once all have been found.
        batch.bins[a] = &bin(*number);
        const auto* const bytes = reinterpret_cast<const std::byte*>(batch.bins[a]);
        for (std::size_t line = 0; line < sizeof(ZeCShiftedBin); line += 64) {
            CbPrefetchEarly(bytes + line);
        }
    }
}

std::uint32_t ZeCShiftedBins::makeBin(std::uint8_t tissueType, std::uint32_t next)
{
    all_.MakeRoom(count_ + std::size_t{1});
    ++count_;
    bin(count_) = {{}, 0, next, tissueType};
    return count_;
}
