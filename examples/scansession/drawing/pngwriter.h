#pragma once

#include "examples/scansession/drawing/picture.h"

#include <filesystem>

namespace scansession
{

/// Writes a picture as a PNG file, all of it or nothing.
/// Throws: std::system_error naming the file if it cannot be written; std::runtime_error if
/// the picture cannot be packed.
void WritePng(const Picture& picture, const std::filesystem::path& path);

} // namespace scansession
