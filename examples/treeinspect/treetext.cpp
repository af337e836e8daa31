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

/// The model's surfels, or its class if that is unknown.
void PrintModel(const ZeCTransformationNode& node, const sessionfile::UnknownRecords& unknown,
                std::ostream& out)
{
    const auto model = node.GetModel();
    const CString className = model ? unknown.GetClassName(*model) : CString();
    out << (node.IsLeaf() ? ", " : ", merged ");
    if (className.IsEmpty()) {
        out << "surfels " << CountOwnSurfels(node);
    } else {
        out << "model of unknown class " << Quoted(className);
    }
}

void PrintNode(const SubtreeNode& entry, const sessionfile::UnknownRecords& unknown,
               std::ostream& out)
{
    const auto& [node, depth, father] = entry;
    if (depth <= c_deepestIndent) {
        out << std::string(2 * depth, ' ');
    } else {
        out << std::string(2 * c_deepestIndent, ' ') << "level " << depth << ": ";
    }
    out << Quoted(node->GetDescription()) << (node->IsLeaf() ? " leaf " : " inner ")
        << node->GetID().ToString().ToUtf8() << ", revisions "
        << node->GetNodeRevision(ZeCTransformationNode::c_modelRevision) << ' '
        << node->GetNodeRevision(ZeCTransformationNode::c_trafoRevision);
    if (node->IsLeaf() || node->GetModel()) PrintModel(*node, unknown, out);
    if (!node->IsLeaf() && node->GetModel()) out << " of revision " << node->GetModelRevision();
    out << ", pose ";
    PrintPose(node->GetRelativeTrafo(), out);
    out << '\n';
    const std::string bullet = std::string(2 * (std::min(depth, c_deepestIndent) + 1), ' ') + "- ";
    for (const auto& attribute : node->GetAllAttributes()) {
        out << bullet;
        PrintAttribute(*attribute, out);
        out << '\n';
    }
    for (const auto& attribute : unknown.GetAttributes(node->GetID())) {
        out << bullet << "of unknown class " << Quoted(attribute.className) << ": "
            << attribute.bytes << " bytes\n";
    }
}

} // namespace

void PrintTree(const ZeCTransformationNode& top, const sessionfile::UnknownRecords& unknown,
               std::ostream& out)
{
    const auto nodes = ListSubtree(top);
    std::uint64_t leaves = 0;
    std::uint64_t surfels = 0;
    for (const auto& entry : nodes) {
        PrintNode(entry, unknown, out);
        if (!entry.node->IsLeaf()) continue;
        ++leaves;
        surfels += CountOwnSurfels(*entry.node);
    }
    out << "\nnodes " << nodes.size() << ", leaves " << leaves << ", surfels " << surfels << '\n';
}

} // namespace treeinspect
