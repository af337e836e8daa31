#pragma once

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>

namespace treeinspect
{

/// What the command line asks for.
struct Options
{
    std::filesystem::path file;
    std::string node; ///< id or description of the subtree's top; empty for the root
    std::optional<std::filesystem::path> ply;
    std::optional<std::filesystem::path> dot;
};

/// Reads the command line. If it asks for help or version, writes that to @p help and
/// returns none.
/// Throws: scansession::InputError with one line of text.
[[nodiscard]] std::optional<Options> ParseOptions(int argc, const char* const* argv,
                                                  std::ostream& help);

} // namespace treeinspect
