#pragma once

#include "examples/scansession/scans/ply.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace scansession
{

/// A header and where it ends.
struct PlyHeader
{
    PlyFile file; ///< the elements have no rows yet
    std::size_t size = 0;
    std::size_t lines = 0;
};

/// Reads the header at the start of @p content, up to and including its last line end.
/// Throws: InputError with @p name, the line and what is wrong there.
[[nodiscard]] PlyHeader ReadPlyHeader(std::string_view content, const std::string& name);

} // namespace scansession
