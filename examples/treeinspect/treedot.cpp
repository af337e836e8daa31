#include "examples/treeinspect/treedot.h"

#include "examples/session/replacementfile.h"
#include "examples/treeinspect/subtree.h"

#include <string>

namespace treeinspect
{

void WriteDot(const ZeCTransformationNode& top, const std::filesystem::path& path)
{
    sessionfile::ReplacementFile file(path);
    const auto write = [&](const std::string& text) { file.WriteBuffer(text.data(), text.size()); };
    write("digraph tree {\n  node [shape=box];\n");
    const auto nodes = ListSubtree(top);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const auto& [node, depth, father] = nodes[i];
        std::string label = Quoted(node->GetDescription());
        std::string shape;
        if (node->IsLeaf()) {
            label.insert(label.size() - 1,
                         "\\n" + std::to_string(CountOwnSurfels(*node)) + " surfels");
            shape = ", shape=ellipse";
        }
        const std::string name = "n" + std::to_string(i);
        write("  " + name + " [label=" + label + shape + "];\n");
        if (i > 0) write("  n" + std::to_string(father) + " -> " + name + ";\n");
    }
    write("}\n");
    file.Commit();
}

} // namespace treeinspect
