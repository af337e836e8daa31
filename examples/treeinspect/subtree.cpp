#include "examples/treeinspect/subtree.h"

#include "transformationtree/nodes/zectransformationnodeinner.h"

namespace treeinspect
{

std::vector<SubtreeNode> ListSubtree(const ZeCTransformationNode& top)
{
    std::vector<SubtreeNode> nodes;
    std::vector<SubtreeNode> open{{&top, 0, 0}};
    while (!open.empty()) {
        const std::size_t place = nodes.size();
        nodes.push_back(open.back());
        open.pop_back();
        const auto [node, depth, father] = nodes.back();
        const ZeCTransformationNodeInner* const inner = node->AsInner();
        if (inner == nullptr) continue;
        for (auto child = inner->EndChild(); child != inner->BeginChild();) {
            --child;
            open.push_back({child->Get(), depth + 1, place});
        }
    }
    return nodes;
}

std::uint32_t CountOwnSurfels(const ZeCTransformationNode& node)
{
    const auto model = node.GetModel();
    const auto* const surfels =
        model ? model->BorrowSurfelCollection(ZeCModelQMT::ESurfelCollectionType::Standard)
              : nullptr;
    return surfels != nullptr ? surfels->GetNrSurfels() : 0;
}

std::string Quoted(const CString& text)
{
    std::basic_string<CbWChar> quoted(1, CbWChar{'"'});
    for (const CbWChar unit : text.GetView()) {
        const bool isControl = unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
        if (unit == '"' || unit == '\\') quoted += CbWChar{'\\'};
        quoted += isControl ? CbWChar{'?'} : unit;
    }
    quoted += CbWChar{'"'};
    return CString(CString::View(quoted)).ToUtf8();
}

} // namespace treeinspect
