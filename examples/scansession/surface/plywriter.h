#pragma once

#include "sessionfile/replacementfile.h"

#include <array>
#include <cstdint>
#include <filesystem>

namespace scansession
{

/// Writes oriented and coloured points as a binary little-endian PLY file, all of it or none.
class PlyWriter
{
public:
    /// Throws, as all functions: std::system_error naming the file if it cannot be written.
    PlyWriter(const std::filesystem::path& path, std::uint64_t count);

    /// Appends a point. As many as promised must follow the constructor.
    void Add(const std::array<float, 3>& position, const std::array<float, 3>& normal,
             const std::array<std::uint8_t, 3>& colour);
    /// Puts the file in its place. Without it nothing is left, and an older file stays as it was.
    void Commit() { file_.Commit(); }

private:
    sessionfile::ReplacementFile file_;
};

} // namespace scansession
