// Checks a session file, prints its tree and exports a subtree.

#include "examples/scansession/app/interruption.h"
#include "examples/scansession/scans/inputerror.h"
#include "examples/scansession/session/unknowntext.h"
#include "examples/scansession/surface/surfelexport.h"
#include "examples/treeinspect/options.h"
#include "examples/treeinspect/subtree.h"
#include "examples/treeinspect/treedot.h"
#include "examples/treeinspect/treetext.h"
#include "sessionfile/sessionerror.h"
#include "sessionfile/sessionfile.h"

#include <exception>
#include <filesystem>
#include <iostream>
#include <system_error>

namespace treeinspect
{

namespace
{

/// The node of that id, or else the one of that description.
/// Throws: scansession::InputError if there is none, or more than one.
const ZeCTransformationNode& FindNode(const ZeCTransformationNode& root, const std::string& text)
{
    const ZeCTransformationNode* found = nullptr;
    const CString wanted = CString::FromUtf8(text);
    std::size_t described = 0;
    for (const auto& entry : ListSubtree(root)) {
        if (entry.node->GetID().ToString() == wanted) return *entry.node;
        if (entry.node->GetDescription() != wanted) continue;
        found = entry.node;
        ++described;
    }
    if (described != 1) {
        throw scansession::InputError(
            "--node " + Quoted(wanted) + ": " +
            (described == 0 ? "no node has this id or description"
                            : std::to_string(described) + " nodes are described so, name its id") +
            "; without --node all are listed");
    }
    return *found;
}

/// Sees to it that no output replaces the session file or the other output.
void RequireDifferentFiles(const Options& options)
{
    for (const auto& place : {options.ply, options.dot}) {
        std::error_code ignored; // the one is not there yet
        if (place && std::filesystem::equivalent(*place, options.file, ignored)) {
            throw scansession::InputError(place->string() + ": is the session file itself");
        }
    }
    const auto whole = [](const std::filesystem::path& path) {
        return std::filesystem::weakly_canonical(std::filesystem::current_path() / path);
    };
    if (options.ply && options.dot && whole(*options.ply) == whole(*options.dot)) {
        throw scansession::InputError(options.dot->string() + ": is named by --ply and --dot");
    }
}

void Inspect(const Options& options)
{
    RequireDifferentFiles(options);
    const auto [root, unknown] = sessionfile::LoadSession(options.file);
    const auto& top = options.node.empty() ? *root : FindNode(*root, options.node);
    PrintTree(top, unknown, std::cout);
    if (!unknown.IsEmpty()) std::cout << scansession::DescribeUnknown(unknown) << '\n';
    if (options.ply) scansession::WriteSurfels(top, *options.ply, [] {});
    if (options.dot) WriteDot(top, *options.dot);
}

} // namespace

} // namespace treeinspect

int main(int argc, char** argv)
{
    constexpr int c_inconsistent = 1;
    constexpr int c_unreadable = 2;
    scansession::RemovePartFilesWhenInterrupted();
    try {
        const auto options = treeinspect::ParseOptions(argc, argv, std::cout);
        if (options) treeinspect::Inspect(*options);
        if (!std::cout.flush()) throw scansession::InputError("the output cannot be written");
        return 0;
    } catch (const sessionfile::SessionError& error) {
        std::cerr << "treeinspect: " << error.what() << '\n';
        const bool isRead = error.GetKind() == sessionfile::SessionError::EKind::Inconsistent;
        return isRead ? c_inconsistent : c_unreadable;
    } catch (const std::exception& error) {
        std::cerr << "treeinspect: " << error.what() << '\n';
        return c_unreadable;
    }
}
