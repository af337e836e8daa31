#include "examples/treeinspect/options.h"

#include "examples/scansession/scans/inputerror.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace treeinspect
{

std::optional<Options> ParseOptions(int argc, const char* const* argv, std::ostream& help)
{
    CLI::App app("Checks a session file and prints its tree. Ends with 1 where the file is "
                 "inconsistent, with 2 where it cannot be read.",
                 "treeinspect");
    Options options;
    std::string file;
    std::string ply;
    std::string dot;
    app.add_option("FILE", file, "Session file")->required();
    app.add_option("--node", options.node,
                   "Id or description of the node whose subtree is printed and exported; the root "
                   "unless told otherwise")
        ->type_name("TEXT");
    auto* const plyOption =
        app.add_option("--ply", ply, "Writes the subtree's surfels, in the frame of its top")
            ->type_name("OUT");
    auto* const dotOption =
        app.add_option("--dot", dot, "Writes the subtree as a graph for Graphviz")
            ->type_name("OUT");
    app.set_version_flag("--version", "treeinspect " TREE_VERSION, "Print the version and end");
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
        throw scansession::InputError(text + " (--help lists the options)");
    }
    options.file = file;
    if (*plyOption) options.ply = ply;
    if (*dotOption) options.dot = dot;
    return options;
}

} // namespace treeinspect
