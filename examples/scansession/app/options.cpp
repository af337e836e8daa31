#include "examples/scansession/app/options.h"

#include "examples/scansession/scans/textfile.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <system_error>

namespace scansession
{

namespace
{

/// Accepts what is finite and above 0 as a float too.
std::string CheckLength(const std::string& text)
{
    using Limits = std::numeric_limits<float>;
    const auto length = ParseNumber(text);
    const bool isLength = length && *length >= Limits::denorm_min() && *length <= Limits::max();
    return isLength ? std::string() : text + " is no finite number above 0";
}

std::string CheckSeed(const std::string& text)
{
    std::uint64_t seed = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seed);
    const bool isSeed = error == std::errc() && stop == end;
    return isSeed ? std::string() : text + " is no whole number from 0 to 2^64 - 1";
}

} // namespace

std::optional<Options> ParseOptions(int argc, const char* const* argv, std::ostream& help)
{
    CLI::App app(
        "Builds the transformation tree of a scan session, simulated or from range scans, or loads "
        "it, writes the surfels of all its leaves in the frame of the root to OUT/merged.ply, and "
        "draws them in OUT/overview.png.",
        "scansession");
    Options options;
    std::string scans;
    std::string poses;
    std::string load;
    std::string save;
    int normalize = 0;
    float cell = 0.0F;
    std::string out = options.out.string();
    auto* const scansOption =
        app.add_option("--scans", scans,
                       "Folder with range scans (PLY); without it the scans are "
                       "simulated")
            ->type_name("DIR");
    auto* const posesOption =
        app.add_option("--poses", poses,
                       "File with their poses, lines 'bmesh NAME tx ty tz qx qy qz qw'; without it "
                       "each NAME.ply has a 4x4 matrix by rows in NAME.xf or NAME.txt")
            ->type_name("FILE")
            ->needs(scansOption);
    app.add_option("--out", out, "Folder for the result")->type_name("DIR")->capture_default_str();
    auto* const loadOption = app.add_option("--load", load, "Session file to take instead of scans")
                                 ->type_name("FILE")
                                 ->excludes(scansOption);
    auto* const saveOption =
        app.add_option("--save", save, "File to write the session to")->type_name("FILE");
    app.add_option("--seed", options.seed, "Seed of the simulation")
        ->type_name("N")
        ->check(CheckSeed)
        ->capture_default_str()
        ->excludes(scansOption)
        ->excludes(loadOption);
    app.add_option("--frames", options.frames, "Depth images to simulate")
        ->type_name("N")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str()
        ->excludes(scansOption)
        ->excludes(loadOption);
    app.add_option("--clusters", options.clusters,
                   "Clusters to split the scans into, one after the other and of equal size; not "
                   "more than there are scans")
        ->type_name("N")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str()
        ->excludes(loadOption);
    app.add_option("--max-children", options.maxChildren,
                   "Children that a node may have; the tree grows levels where a cluster holds "
                   "more scans")
        ->type_name("N")
        ->check(CLI::Range(2, 100000))
        ->capture_default_str()
        ->excludes(loadOption);
    app.add_flag("--merge-clusters", options.mergeClusters,
                 "Then move all scans into the first cluster")
        ->disable_flag_override();
    app.add_flag("--collapse", options.collapse,
                 "Then hang the scans of each cluster directly below its optimizer")
        ->disable_flag_override();
    auto* const normalizeOption =
        app.add_option("--normalize", normalize,
                       "Then build the tree of each cluster anew, with so many children for a node")
            ->type_name("N")
            ->check(CLI::Range(2, 100000));
    auto* const cellOption =
        app.add_option("--cell", cell,
                       "Merge the scans of every cluster to one surfel for each cell of that side; "
                       "written to OUT/model.ply, and drawn")
            ->type_name("SIZE")
            ->check(CheckLength);
    app.add_flag("--shifted", options.shifted,
                 "Merge on 125 shifted grids and keep all surfels of them")
        ->needs(cellOption)
        ->disable_flag_override();
    app.add_flag("--quiet", options.quiet, "Print neither tree, summary nor progress")
        ->disable_flag_override();
    app.set_version_flag("--version", "scansession " TREE_VERSION, "Print the version and end");

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        help << app.help();
        return std::nullopt;
    } catch (const CLI::CallForVersion& version) {
        help << version.what() << '\n';
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        std::string text = error.what();
        std::replace(text.begin(), text.end(), '\n', ' ');
        throw UsageError(text + " (--help lists the options)");
    }
    if (*scansOption) options.scans = scans;
    if (*posesOption) options.poses = poses;
    if (*loadOption) options.load = load;
    if (*saveOption) options.save = save;
    if (*normalizeOption) options.normalize = normalize;
    if (*cellOption) options.cell = cell;
    options.out = out;
    return options;
}

} // namespace scansession
