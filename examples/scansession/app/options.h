#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <ostream>
#include <stdexcept>

namespace scansession
{

/// What the command line asks for.
struct Options
{
    std::optional<std::filesystem::path> scans; ///< none: the simulator
    std::optional<std::filesystem::path> poses;
    std::optional<std::filesystem::path> load; ///< a session file to take instead of scans
    std::optional<std::filesystem::path> save; ///< where to write the session
    std::filesystem::path out = "out";
    std::uint64_t seed = 1;
    std::size_t frames = 120;
    std::size_t clusters = 1;
    unsigned int maxChildren = 16; ///< of each inner node at or below an optimizer; at least 2
    bool mergeClusters = false;
    bool collapse = false;
    std::optional<int> normalize; ///< children of each node below an optimizer; at least 2
    std::optional<float> cell;    ///< for a merged model of every cluster: finite, above 0
    bool shifted = false;         ///< whether those come from shifted grids; only with a cell
    bool quiet = false;
};

/// The command line cannot be understood.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Reads the command line. If it asks for help or version, writes that to @p help and
/// returns none.
/// Throws: UsageError with one line of text.
[[nodiscard]] std::optional<Options> ParseOptions(int argc, const char* const* argv,
                                                  std::ostream& help);

} // namespace scansession
