#include "examples/scansession/scans/rangegrid.h"

#include "examples/scansession/scans/inputerror.h"
#include "examples/scansession/scans/textfile.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace scansession
{

namespace
{

constexpr double c_reach = 3.0;           // in median steps
constexpr double c_smallestRadius = 10.0; // in median steps
constexpr double c_doubtfulQuality = 0.05;

std::size_t SizeFromInfo(const PlyFile& file, std::string_view key, const std::string& name)
{
    const std::string* const text = file.FindInfo(key);
    const auto value = text != nullptr ? ParseNumber(*text) : std::nullopt;
    if (!value || !(*value >= 0.0 && *value <= 1e9) || *value != std::floor(*value)) {
        throw InputError(name + ": the range grid needs a line 'obj_info " + std::string(key) +
                         " <count>'");
    }
    return static_cast<std::size_t>(*value);
}

/// Calls @p visit with the vertices of each pair of neighbours, along rows and along columns.
template<class Visit>
void ForEachStep(const RangeGrid& grid, Visit visit)
{
    for (std::size_t row = 0; row < grid.rows; ++row) {
        for (std::size_t column = 0; column < grid.columns; ++column) {
            const std::size_t cell = row * grid.columns + column;
            const auto a = grid.cells[cell];
            if (a == RangeGrid::c_noSample) continue;
            if (column + 1 < grid.columns && grid.cells[cell + 1] != RangeGrid::c_noSample) {
                visit(a, grid.cells[cell + 1]);
            }
            if (row + 1 < grid.rows && grid.cells[cell + grid.columns] != RangeGrid::c_noSample) {
                visit(a, grid.cells[cell + grid.columns]);
            }
        }
    }
}

/// The median distance of neighbours; 0 without any.
double MedianStep(const RangeGrid& grid, const std::vector<Surfel>& surfels)
{
    std::vector<double> steps;
    steps.reserve(2 * surfels.size());
    ForEachStep(grid, [&](std::uint32_t a, std::uint32_t b) {
        steps.push_back(Length(surfels[a].position - surfels[b].position));
    });
    if (steps.empty()) return 0.0;
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    return *middle;
}

/// The offsets to the usable neighbours of a surfel: right, below, left, above.
using Neighbours = std::array<std::optional<Vec3>, 4>;

Neighbours NeighboursOf(const RangeGrid& grid, const std::vector<Surfel>& surfels, std::size_t row,
                        std::size_t column, double reach)
{
    const std::size_t cell = row * grid.columns + column;
    const Vec3 origin = surfels[grid.cells[cell]].position;
    const auto offset = [&](bool exists, std::size_t other) -> std::optional<Vec3> {
        if (!exists || grid.cells[other] == RangeGrid::c_noSample) return std::nullopt;
        const Vec3 d = surfels[grid.cells[other]].position - origin;
        const double length = Length(d);
        return length > 0.0 && length <= reach ? std::optional(d) : std::nullopt;
    };
    return {offset(column + 1 < grid.columns, cell + 1),
            offset(row + 1 < grid.rows, cell + grid.columns), offset(column > 0, cell - 1),
            offset(row > 0, cell - grid.columns)};
}

Vec3 SumOfTriangles(const Neighbours& neighbours)
{
    Vec3 sum;
    for (std::size_t i = 0; i < neighbours.size(); ++i) {
        const auto& first = neighbours[i];
        const auto& second = neighbours[(i + 1) % neighbours.size()];
        if (first && second) sum = sum + Cross(*first, *second);
    }
    return sum;
}

void EstimateSurfel(Surfel& surfel, const Neighbours& neighbours, double step,
                    EstimateOptions options)
{
    const auto usable = static_cast<double>(
        std::count_if(neighbours.begin(), neighbours.end(), [](const auto& n) { return !!n; }));
    surfel.boundary = usable < 4.0;
    if (options.normals) {
        const Vec3 sum = SumOfTriangles(neighbours);
        if (sum == Vec3{}) return;
        surfel.normal = Normalized(sum);
    }
    surfel.quality = std::clamp(surfel.normal.z, c_doubtfulQuality, 1.0) *
                     std::max(usable / 4.0, c_doubtfulQuality);
    double curvature = 0.0;
    for (const auto& d : neighbours) {
        if (d) curvature -= 2.0 * Dot(surfel.normal, *d) / Dot(*d, *d);
    }
    if (usable > 0.0) {
        surfel.curvature = CurvatureCode(curvature / usable, c_smallestRadius * step);
    }
}

} // namespace

std::optional<RangeGrid> ReadRangeGrid(const PlyFile& file, std::size_t vertices,
                                       const std::string& name)
{
    const PlyElement* const element = file.Find("range_grid");
    if (element == nullptr) return std::nullopt;
    RangeGrid grid;
    grid.columns = SizeFromInfo(file, "num_cols", name);
    grid.rows = SizeFromInfo(file, "num_rows", name);
    const PlyProperty* const indices = element->Find("vertex_indices", true);
    if (indices == nullptr) throw InputError(name + ": the range grid has no list vertex_indices");
    if (indices->listEnds.size() != grid.columns * grid.rows) {
        throw InputError(name + ": the range grid has " + std::to_string(indices->listEnds.size()) +
                         " cells instead of " + std::to_string(grid.columns) + " x " +
                         std::to_string(grid.rows));
    }
    grid.cells.reserve(indices->listEnds.size());
    std::size_t begin = 0;
    for (const std::size_t end : indices->listEnds) {
        const double index = end == begin ? -1.0 : indices->values[begin];
        if (end - begin > 1 || (end != begin && !(index >= 0.0)) ||
            index >= static_cast<double>(vertices) || index != std::floor(index)) {
            throw InputError(name + ": cell " + std::to_string(grid.cells.size()) +
                             " of the range grid names no vertex of the file");
        }
        grid.cells.push_back(end == begin ? RangeGrid::c_noSample
                                          : static_cast<std::uint32_t>(index));
        begin = end;
    }
    return grid;
}

void EstimateSurface(const RangeGrid& grid, std::vector<Surfel>& surfels, EstimateOptions options)
{
    for (auto& surfel : surfels) {
        surfel.boundary = true;
        surfel.quality = c_doubtfulQuality;
    }
    const double step = MedianStep(grid, surfels);
    for (std::size_t row = 0; row < grid.rows; ++row) {
        for (std::size_t column = 0; column < grid.columns; ++column) {
            const auto vertex = grid.cells[row * grid.columns + column];
            if (vertex == RangeGrid::c_noSample) continue;
            EstimateSurfel(surfels[vertex],
                           NeighboursOf(grid, surfels, row, column, c_reach * step), step, options);
        }
    }
}

} // namespace scansession
