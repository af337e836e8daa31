#include "examples/treeinspect/treetext.h"

#include "examples/treeinspect/attributetext.h"
#include "examples/treeinspect/posetext.h"
#include "examples/treeinspect/subtree.h"

#include <algorithm>
#include <string>

namespace treeinspect
{

namespace
{

/// Deeper levels are told by a number: a chain's lines would grow without bound.
constexpr std::size_t c_deepestIndent = 40;

void PrintNode(const SubtreeNode& entry, std::ostream& out)
{
    const auto& [node, depth, father] = entry;
    if (depth <= c_deepestIndent) {
        out << std::string(2 * depth, ' ');
    } else {
        out << std::string(2 * c_deepestIndent, ' ') << "level " << depth << ": ";
    }
    out << Quoted(node->GetDescription()) << (node->IsLeaf() ? " leaf " : " inner ")
        << node->GetID().ToString().ToUtf8() << ", revisions " << node->GetNodeRevision(1) << ' '
        << node->GetNodeRevision(2);
    if (node->IsLeaf()) {
        out << ", surfels " << CountOwnSurfels(*node);
    } else if (node->GetModel()) {
        out << ", merged surfels " << CountOwnSurfels(*node) << " of revision "
            << node->GetModelRevision();
    }
    out << ", pose ";
    PrintPose(node->GetRelativeTrafo(), out);
    out << '\n';
    for (const auto& attribute : node->GetAllAttributes()) {
        out << std::string(2 * (std::min(depth, c_deepestIndent) + 1), ' ') << "- ";
        PrintAttribute(*attribute, out);
        out << '\n';
    }
}

} // namespace

void PrintTree(const ZeCTransformationNode& top, std::ostream& out)
{
    const auto nodes = ListSubtree(top);
    std::uint64_t leaves = 0;
    std::uint64_t surfels = 0;
    for (const auto& entry : nodes) {
        PrintNode(entry, out);
        if (!entry.node->IsLeaf()) continue;
        ++leaves;
        surfels += CountOwnSurfels(*entry.node);
    }
    out << "\nnodes " << nodes.size() << ", leaves " << leaves << ", surfels " << surfels << '\n';
}

} // namespace treeinspect
