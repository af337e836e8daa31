#include "examples/treeinspect/treedot.h"

#include "examples/treeinspect/subtree.h"
#include "sessionfile/replacementfile.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace treeinspect
{

void WriteDot(const ZeCTransformationNode& top, const std::filesystem::path& path)
{
    sessionfile::ReplacementFile file(path);
    const auto write = [&](std::initializer_list<std::string_view> texts) {
        for (const auto text : texts) file.WriteBuffer(text.data(), text.size());
    };
    write({"digraph tree {\n  node [shape=box];\n"});
    const auto nodes = ListSubtree(top);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const auto& [node, depth, father] = nodes[i];
        const std::string name = std::to_string(i);
        std::string label = Quoted(node->GetDescription());
        if (node->IsLeaf()) {
            label.insert(label.size() - 1,
                         "\\n" + std::to_string(CountOwnSurfels(*node)) + " surfels");
        }
        write({"  n", name, " [label=", label, node->IsLeaf() ? ", shape=ellipse" : "", "];\n"});
        if (i > 0) write({"  n", std::to_string(father), " -> n", name, ";\n"});
    }
    write({"}\n"});
    file.Commit();
}

} // namespace treeinspect
