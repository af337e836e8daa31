#pragma once

#include "platform/datacontainer/models/zecmodelqmt.h"
#include "tests/support/treetestaccess.h"
#include "transformationtree/manager/zectransformationnodemanager.h"
#include "transformationtree/nodes/zectransformationnodeleaf.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using Node = CbSmartPointer<ZeCTransformationNode>;
using Inner = CbSmartPointer<ZeCTransformationNodeInner>;
using Leaf = CbSmartPointer<ZeCTransformationNodeLeaf>;
using Model = CbSmartPointer<const ZeCModelQMT>;

/// The node as an inner one; null for leaves and null.
inline Inner InnerOf(const Node& node)
{
    return CbDynamicPointerCast<ZeCTransformationNodeInner>(node);
}

/// Surfels at these points, all else of them zero.
inline CbSmartPointer<ZeCSurfelCollectionQMT> SurfelsAt(const std::vector<CbVector3f>& points)
{
    const auto surfels =
        CbMake<ZeCSurfelCollectionQMT>(static_cast<std::uint32_t>(points.size()), true,
                                       ZeCSurfelContainer::ESurfelAttributeSet::Complete, nullptr);
    std::copy(points.begin(), points.end(), surfels->GetPositionAccessor().begin());
    return surfels;
}

/// Puts a node, or null, at the end of a father's children, as reading a tree would: no manager, no
/// revision.
inline void LinkByHand(const Inner& father, const Node& child)
{
    TestAccess::Children(*father).Append({child});
    if (child) TestAccess::SetFather(*child, father);
}

/// A tree made from text, and its nodes by their descriptions.
///
/// "root(cluster*(a*, b), empty(), null)": what has parentheses is an inner node, all else a leaf;
/// a star stands for a model, and "null" for a null entry (by hand only). Names may hold spaces.
class Scenario
{
public:
    /// Who creates and links the nodes.
    enum class EBuilder
    {
        Hand,
        Manager
    };

    explicit Scenario(std::string_view text, EBuilder builder = EBuilder::Hand)
        : builder_(builder), rest_(text)
    {
        root_ = parseNode();
        if (!rest_.empty()) throw std::invalid_argument("trailing text: " + std::string(rest_));
    }

    /// The node described so. Throws where there is none.
    [[nodiscard]] const Node& operator[](const std::string& name) const { return nodes_.at(name); }
    [[nodiscard]] Inner GetInner(const std::string& name) const { return InnerOf((*this)[name]); }
    [[nodiscard]] Leaf GetLeaf(const std::string& name) const
    {
        return CbDynamicPointerCast<ZeCTransformationNodeLeaf>((*this)[name]);
    }
    [[nodiscard]] const Node& GetRoot() const { return root_; }
    [[nodiscard]] Inner GetRootInner() const { return InnerOf(root_); }
    /// All nodes, by their descriptions.
    [[nodiscard]] const std::map<std::string, Node>& GetNodes() const { return nodes_; }
    /// Gives the nodes up: only the tree itself and the caller hold them from now on.
    void Forget()
    {
        nodes_.clear();
        root_ = nullptr;
    }

private:
    bool accept(char sign)
    {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
        if (rest_.empty() || rest_.front() != sign) return false;
        rest_.remove_prefix(1);
        return true;
    }

    Node parseNode()
    {
        (void)accept(' ');
        const std::size_t length = std::min(rest_.find_first_of("(,)*"), rest_.size());
        std::string name(rest_.substr(0, length));
        rest_.remove_prefix(length);
        name.erase(name.find_last_not_of(' ') + 1);
        if (name == "null") return nullptr;

        const Model model = accept('*') ? Model(CbMake<ZeCModelQMT>()) : nullptr;
        const Node node = accept('(') ? Node(parseInner(model)) : Node(makeLeaf(model));
        node->SetDescription(CString::FromUtf8(name));
        if (!nodes_.emplace(name, node).second) throw std::invalid_argument("twice: " + name);
        return node;
    }

    Inner parseInner(const Model& model)
    {
        const bool byHand = builder_ == EBuilder::Hand;
        const Inner inner =
            byHand ? CbMake<ZeCTransformationNodeInner>() : TheManager().CreateInnerNode();
        if (model) inner->SetModel(model, -1);
        if (accept(')')) return inner;
        do {
            const Node child = parseNode();
            byHand ? LinkByHand(inner, child) : TheManager().AppendChild(inner, child);
        } while (accept(','));
        if (!accept(')')) throw std::invalid_argument("no ) at: " + std::string(rest_));
        return inner;
    }

    Leaf makeLeaf(const Model& model) const
    {
        if (builder_ == EBuilder::Manager) return TheManager().CreateLeafNode(model);
        return CbMake<ZeCTransformationNodeLeaf>(model);
    }

    EBuilder builder_;
    std::string_view rest_;
    Node root_;
    std::map<std::string, Node> nodes_;
};

/// The nodes at and below @p top whose model revisions are newer than @p since, oldest first, by
/// their descriptions.
inline std::string RenewalOrder(const Node& top, ZeTNodeRevision since)
{
    std::map<ZeTNodeRevision, std::string> renewed;
    for (const auto& [node, trafo] : top->Nodes()) {
        renewed[node.GetNodeRevision(1)] = node.GetDescription().ToUtf8();
    }
    std::string text;
    for (auto node = renewed.upper_bound(since); node != renewed.end(); ++node) {
        text += (text.empty() ? "" : " ") + node->second;
    }
    return text;
}

/// The text of a tree, in the form that Scenario reads. An entry whose node has another father by
/// now begins with an exclamation mark, and what is below it is left out.
inline std::string Describe(const ZeCTransformationNode& node)
{
    std::string text = node.GetDescription().ToUtf8() + (node.GetModel() ? "*" : "");
    if (node.IsLeaf()) return text;
    const auto& inner = static_cast<const ZeCTransformationNodeInner&>(node);
    const char* separator = "(";
    for (auto child = inner.BeginChild(); child != inner.EndChild(); ++child) {
        text += separator;
        separator = ", ";
        if (!*child) {
            text += "null";
        } else if ((*child)->IsChildOf(inner)) {
            text += Describe(**child);
        } else {
            text += "!" + (*child)->GetDescription().ToUtf8();
        }
    }
    return text + (inner.GetNrChildren() == 0 ? "()" : ")");
}
