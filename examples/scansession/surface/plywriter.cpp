#include "examples/scansession/surface/plywriter.h"

#include <string>
#include <string_view>

namespace scansession
{

namespace
{

std::string HeaderFor(std::uint64_t count)
{
    std::string header = "ply\nformat binary_little_endian 1.0\n"
                         "comment surfels at or below a node, in its frame\n"
                         "element vertex " +
                         std::to_string(count) + '\n';
    for (const std::string_view name : {"x", "y", "z", "nx", "ny", "nz"}) {
        header.append("property float ").append(name).append("\n");
    }
    for (const std::string_view name : {"red", "green", "blue"}) {
        header.append("property uchar ").append(name).append("\n");
    }
    return header + "end_header\n";
}

} // namespace

PlyWriter::PlyWriter(const std::filesystem::path& path, std::uint64_t count) : file_(path)
{
    const std::string header = HeaderFor(count);
    file_.WriteBuffer(header.data(), header.size());
}

void PlyWriter::Add(const std::array<float, 3>& position, const std::array<float, 3>& normal,
                    const std::array<std::uint8_t, 3>& colour)
{
    for (const auto* const vector : {&position, &normal}) {
        for (const float value : *vector) file_ << value;
    }
    file_.WriteBuffer(colour.data(), colour.size());
}

} // namespace scansession
