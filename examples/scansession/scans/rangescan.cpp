#include "examples/scansession/scans/rangescan.h"

#include "examples/scansession/scans/inputerror.h"
#include "examples/scansession/scans/ply.h"
#include "examples/scansession/scans/rangegrid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace scansession
{

namespace
{

constexpr double c_unknownNormalQuality = 0.05;

/// Three properties that belong together.
struct Triple
{
    std::array<const PlyProperty*, 3> columns;

    [[nodiscard]] Vec3 At(std::size_t row) const
    {
        return {columns[0]->values[row], columns[1]->values[row], columns[2]->values[row]};
    }
};

/// The names of a triple, and others that files have for the same.
struct TripleNames
{
    std::array<std::string_view, 3> names;
    std::array<std::string_view, 3> others;
};

constexpr TripleNames c_positions{{"x", "y", "z"}, {}};
constexpr TripleNames c_normals{{"nx", "ny", "nz"}, {"normal_x", "normal_y", "normal_z"}};
constexpr TripleNames c_colours{{"red", "green", "blue"},
                                {"diffuse_red", "diffuse_green", "diffuse_blue"}};

std::optional<Triple> FindTriple(const PlyElement& element, const TripleNames& names)
{
    Triple triple{};
    for (std::size_t i = 0; i < triple.columns.size(); ++i) {
        const auto*& column = triple.columns[i];
        column = element.Find(names.names[i]);
        if (column == nullptr) column = element.Find(names.others[i]);
        if (column == nullptr) return std::nullopt;
    }
    return triple;
}

/// Surfels are kept in single precision.
bool HasFinitePosition(const Surfel& surfel)
{
    const auto isFinite = [](double value) {
        return std::abs(value) <= std::numeric_limits<float>::max();
    };
    const Vec3& p = surfel.position;
    return isFinite(p.x) && isFinite(p.y) && isFinite(p.z);
}

/// A channel as a byte: integers as they are, floating-point values from 0 to 1.
std::uint8_t Channel(double value, PlyType type)
{
    const double scaled = IsFloatingPoint(type) ? std::floor(value * 255.0 + 0.5) : value;
    return static_cast<std::uint8_t>(std::isnan(scaled) ? 128.0 : std::clamp(scaled, 0.0, 255.0));
}

std::vector<Surfel> ReadPositions(const Triple& positions, const std::string& name)
{
    std::vector<Surfel> surfels(positions.columns[0]->values.size());
    if (surfels.size() >= RangeGrid::c_noSample) throw InputError(name + ": too many vertices");
    for (std::size_t i = 0; i < surfels.size(); ++i) {
        surfels[i].position = positions.At(i);
        surfels[i].quality = c_unknownNormalQuality;
    }
    return surfels;
}

void ReadNormals(const Triple& normals, std::vector<Surfel>& surfels)
{
    for (std::size_t i = 0; i < surfels.size(); ++i) {
        const Vec3 normal = normals.At(i);
        const double length = Length(normal);
        if (!(length > 0.0 && std::isfinite(length))) continue;
        surfels[i].normal = normal * (1.0 / length);
        surfels[i].quality = 1.0;
    }
}

void ReadColours(const std::optional<Triple>& colours, std::vector<Surfel>& surfels)
{
    for (std::size_t i = 0; i < surfels.size(); ++i) {
        if (!colours) {
            const double light = std::clamp(surfels[i].normal.z, 0.0, 1.0);
            surfels[i].colour.fill(static_cast<std::uint8_t>(80.0 + 150.0 * light));
            continue;
        }
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const PlyProperty& column = *colours->columns[channel];
            surfels[i].colour[channel] = Channel(column.values[i], column.type);
        }
    }
}

/// The properties that are neither in a triple nor the range grid.
std::vector<std::string> ListUnused(const PlyFile& file,
                                    std::initializer_list<std::optional<Triple>> triples)
{
    std::vector<std::string> unused;
    for (const auto& element : file.elements) {
        for (const auto& property : element.properties) {
            const bool isGrid = element.name == "range_grid" && property.name == "vertex_indices";
            const bool isUsed = std::any_of(triples.begin(), triples.end(), [&](const auto& t) {
                return t && std::find(t->columns.begin(), t->columns.end(), &property) !=
                                t->columns.end();
            });
            if (!isUsed && !isGrid) unused.push_back(element.name + ' ' + property.name);
        }
    }
    return unused;
}

} // namespace

RangeScan ReadRangeScan(const std::filesystem::path& path)
{
    const std::string name = path.string();
    const PlyFile file = ReadPly(path);
    const PlyElement* const vertices = file.Find("vertex");
    if (vertices == nullptr) throw InputError(name + ": has no vertices");
    const auto positions = FindTriple(*vertices, c_positions);
    if (!positions) throw InputError(name + ": the vertices have no x, y and z");
    const auto normals = FindTriple(*vertices, c_normals);
    const auto colours = FindTriple(*vertices, c_colours);

    std::vector<Surfel> surfels = ReadPositions(*positions, name);
    if (normals) ReadNormals(*normals, surfels);
    if (auto grid = ReadRangeGrid(file, surfels.size(), name)) {
        for (auto& cell : grid->cells) {
            if (cell != RangeGrid::c_noSample && !HasFinitePosition(surfels[cell])) {
                cell = RangeGrid::c_noSample;
            }
        }
        EstimateSurface(*grid, surfels, {.normals = !normals});
    }
    ReadColours(colours, surfels);
    // Last, so that the numbers of vertices hold until here.
    const std::size_t leftOut =
        std::erase_if(surfels, [](const Surfel& surfel) { return !HasFinitePosition(surfel); });
    return {std::move(surfels), {leftOut, ListUnused(file, {positions, normals, colours})}};
}

} // namespace scansession
