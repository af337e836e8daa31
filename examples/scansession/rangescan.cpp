#include "examples/scansession/rangescan.h"

#include "examples/scansession/inputerror.h"
#include "examples/scansession/ply.h"
#include "examples/scansession/rangegrid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

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

std::optional<Triple> FindTriple(const PlyElement& element, std::string_view x, std::string_view y,
                                 std::string_view z)
{
    const Triple triple{{element.Find(x), element.Find(y), element.Find(z)}};
    for (const auto* column : triple.columns) {
        if (column == nullptr) return std::nullopt;
    }
    return triple;
}

/// A channel as a byte: integers as they are, floating-point values from 0 to 1.
std::uint8_t Channel(double value, PlyType type)
{
    const double scaled = IsFloatingPoint(type) ? std::floor(value * 255.0 + 0.5) : value;
    return static_cast<std::uint8_t>(std::isnan(scaled) ? 128.0 : std::clamp(scaled, 0.0, 255.0));
}

std::vector<Surfel> ReadPositions(const PlyElement& vertices, const std::string& name)
{
    const auto positions = FindTriple(vertices, "x", "y", "z");
    if (!positions) throw InputError(name + ": the vertices have no x, y and z");
    std::vector<Surfel> surfels(positions->columns[0]->values.size());
    if (surfels.size() >= RangeGrid::c_noSample) throw InputError(name + ": too many vertices");
    for (std::size_t i = 0; i < surfels.size(); ++i) {
        const Vec3 p = positions->At(i);
        for (const double coordinate : {p.x, p.y, p.z}) {
            // Surfels are kept in single precision.
            if (std::abs(coordinate) <= std::numeric_limits<float>::max()) continue;
            throw InputError(name + ": vertex " + std::to_string(i) + " has no finite position");
        }
        surfels[i].position = p;
        surfels[i].quality = c_unknownNormalQuality;
    }
    return surfels;
}

/// Takes over the normals of the file; false where it has none.
bool ReadNormals(const PlyElement& vertices, std::vector<Surfel>& surfels)
{
    const auto normals = FindTriple(vertices, "nx", "ny", "nz");
    if (!normals) return false;
    for (std::size_t i = 0; i < surfels.size(); ++i) {
        const Vec3 normal = normals->At(i);
        const double length = Length(normal);
        if (!(length > 0.0 && std::isfinite(length))) continue;
        surfels[i].normal = normal * (1.0 / length);
        surfels[i].quality = 1.0;
    }
    return true;
}

void ReadColours(const PlyElement& vertices, std::vector<Surfel>& surfels)
{
    const auto colours = FindTriple(vertices, "red", "green", "blue");
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

} // namespace

std::vector<Surfel> ReadRangeScan(const std::filesystem::path& path)
{
    const std::string name = path.string();
    const PlyFile file = ReadPly(path);
    const PlyElement* const vertices = file.Find("vertex");
    if (vertices == nullptr) throw InputError(name + ": has no vertices");
    std::vector<Surfel> surfels = ReadPositions(*vertices, name);
    const bool hasNormals = ReadNormals(*vertices, surfels);
    if (const auto grid = ReadRangeGrid(file, surfels.size(), name)) {
        EstimateSurface(*grid, surfels, {.normals = !hasNormals});
    }
    ReadColours(*vertices, surfels);
    return surfels;
}

} // namespace scansession
