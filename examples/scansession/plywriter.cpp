#include "examples/scansession/plywriter.h"

#include "examples/scansession/inputerror.h"

#include <bit>
#include <string_view>
#include <utility>

namespace scansession
{

namespace
{

constexpr std::size_t c_bufferSize = std::size_t{1} << 18;

std::string HeaderFor(std::uint64_t count)
{
    std::string header = "ply\nformat binary_little_endian 1.0\n"
                         "comment surfels of all scans in the frame of the root\n"
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

PlyWriter::PlyWriter(std::filesystem::path path, std::uint64_t count)
    : path_(std::move(path)), part_(path_), buffer_(HeaderFor(count)), missing_(count)
{
    part_ += ".part";
    buffer_.reserve(c_bufferSize + 64);
    makeFolder();
    file_.open(part_, std::ios::binary | std::ios::trunc);
    if (!file_) {
        removeFolders();
        throw InputError(part_.string() + ": cannot be written");
    }
}

PlyWriter::~PlyWriter()
{
    if (isCommitted_) return;
    std::error_code ignored;
    file_.close();
    std::filesystem::remove(part_, ignored);
    removeFolders();
}

void PlyWriter::makeFolder()
{
    const std::filesystem::path folder = std::filesystem::absolute(path_).parent_path();
    std::error_code error;
    for (auto missing = folder; !std::filesystem::exists(missing, error);
         missing = missing.parent_path()) {
        madeFolders_.insert(madeFolders_.begin(), missing);
    }
    std::filesystem::create_directories(folder, error);
    if (error || !std::filesystem::is_directory(folder)) {
        removeFolders();
        throw InputError(folder.string() + ": cannot be made as a folder");
    }
}

void PlyWriter::removeFolders()
{
    std::error_code ignored;
    for (auto it = madeFolders_.rbegin(); it != madeFolders_.rend(); ++it) {
        std::filesystem::remove(*it, ignored);
    }
}

void PlyWriter::Add(const std::array<float, 3>& position, const std::array<float, 3>& normal,
                    const std::array<std::uint8_t, 3>& colour)
{
    if (missing_ == 0) throw InputError(path_.string() + ": more points than announced");
    --missing_;
    append(position);
    append(normal);
    for (const auto channel : colour) buffer_ += static_cast<char>(channel);
    if (buffer_.size() >= c_bufferSize) flush();
}

void PlyWriter::Commit()
{
    if (missing_ != 0) throw InputError(path_.string() + ": fewer points than announced");
    flush();
    file_.close();
    std::error_code error;
    if (file_) std::filesystem::rename(part_, path_, error);
    if (!file_ || error) throw InputError(path_.string() + ": cannot be written");
    isCommitted_ = true;
}

void PlyWriter::append(const std::array<float, 3>& values)
{
    for (const float value : values) {
        const auto bits = std::bit_cast<std::uint32_t>(value);
        for (int shift = 0; shift < 32; shift += 8) buffer_ += static_cast<char>(bits >> shift);
    }
}

void PlyWriter::flush()
{
    file_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    buffer_.clear();
}

} // namespace scansession
