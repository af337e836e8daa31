#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace scansession
{

/// Writes oriented and coloured points as a binary little-endian PLY file, all of it or none.
///
/// The points go to a file `<name>.part` beside the goal, which Commit() renames. Without Commit()
/// the destructor removes that file and the folders made for it, and leaves an older file of the
/// name as it was.
class PlyWriter
{
public:
    /// Makes the folder of @p path where it does not exist.
    /// Throws: InputError naming the file where it cannot be made.
    PlyWriter(std::filesystem::path path, std::uint64_t count);
    PlyWriter(const PlyWriter&) = delete;
    PlyWriter& operator=(const PlyWriter&) = delete;
    ~PlyWriter();

    /// Appends a point.
    void Add(const std::array<float, 3>& position, const std::array<float, 3>& normal,
             const std::array<std::uint8_t, 3>& colour);
    /// Puts the file in its place.
    /// Throws: InputError naming the file where not all could be written, or another number of
    /// points was added than promised.
    void Commit();

private:
    void makeFolder();
    void removeFolders();
    void append(const std::array<float, 3>& values);
    void flush();

    std::filesystem::path path_;
    std::filesystem::path part_;
    std::vector<std::filesystem::path> madeFolders_; // outermost first
    std::ofstream file_;
    std::string buffer_;
    std::uint64_t missing_;
    bool isCommitted_ = false;
};

} // namespace scansession
