#pragma once

#include "transformationtree/nodes/zectransformationnodeinner.h"

#include <algorithm>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

struct NaiveTreeNode
{
    std::string name;
    bool leaf = false;
    std::string star; ///< for a model
    std::pair<std::uint64_t, CyUniqueID> order;
    NaiveTreeNode* father = nullptr;
    std::vector<NaiveTreeNode*> children = {};
    // When the revisions were renewed, counted from the first step on; 0 for not at all.
    long modelRenewed = 0;
    long trafoRenewed = 0;
};

/// Restructures plain nodes step by step, and writes down what it posts.
class NaiveUtility
{
public:
    using N = NaiveTreeNode*;
    using Texts = std::vector<std::string>;

    N Read(const ZeCTransformationNode& node)
    {
        const auto model = node.GetModel();
        const N copy = make(node.GetDescription().ToUtf8(), node.IsLeaf());
        copy->star = model ? "*" : "";
        copy->order = {model ? model->GetAcquireSequenceNumber() : ~0ULL, node.GetID()};
        byNode[&node] = copy;
        if (node.IsLeaf()) return copy;
        const auto& inner = static_cast<const ZeCTransformationNodeInner&>(node);
        for (auto i = inner.BeginChild(); i != inner.EndChild(); ++i) link(copy, Read(**i));
        return copy;
    }
    void Merge(N source, N target)
    {
        while (!source->children.empty()) {
            const N child = source->children.front();
            setTrafo(child);
            move(child, target);
            tell(posted, child, target, 3);
        }
        Remove(source);
        target->star = "";
    }
    void Normalize(N root, std::size_t maxChildren)
    {
        const N model = create("ModelDummy", false);
        N top = create("ClusterDummy", false);
        append(model, top);
        N current = top;
        for (const N leaf : allBelow(root)) {
            if (!leaf->leaf) continue;
            const N copy = create(leaf->name, true);
            copy->star = leaf->star;
            setTrafo(copy);
            current = prepare(current, maxChildren, top);
            top = model->children.back();
            append(current, copy);
        }
        RemoveChildren(root);
        while (!top->children.empty()) move(top->children.front(), root);
        Remove(top);
    }
    /// Returns the node with room, and the new top.
    std::pair<N, N> MakeRoom(N node, std::size_t maxChildren, N top)
    {
        const N place = prepare(node, maxChildren, top);
        return {place, top};
    }
    void Remove(N node)
    {
        RemoveChildren(node);
        const N father = node->father;
        remove(node);
        tell(posted, node, father, 2);
    }
    void RemoveChildren(N father)
    {
        while (!father->children.empty()) Remove(father->children.front());
    }
    N Copy(N source)
    {
        const N copy = create(source->name, source->leaf);
        for (const N child : source->children) append(copy, Copy(child));
        return copy;
    }
    void Collapse(N root)
    {
        std::vector<N> leaves;
        std::vector<N> inner;
        for (const N node : allBelow(root)) (node->leaf ? leaves : inner).push_back(node);
        for (const N leaf : leaves) setTrafo(leaf);
        std::sort(leaves.begin(), leaves.end(), [](N a, N b) { return a->order < b->order; });
        for (const N leaf : leaves) {
            move(leaf, root);
            tell(posted, leaf, root, 3);
        }
        for (const N node : inner) Remove(node);
    }
    [[nodiscard]] static std::string Text(N node)
    {
        std::string text = node->name + node->star;
        if (node->leaf) return text;
        const char* separator = "(";
        for (const N child : node->children) text += std::exchange(separator, ", ") + Text(child);
        return text + (node->children.empty() ? "()" : ")");
    }

    std::map<const ZeCTransformationNode*, N> byNode;
    Texts always; ///< posted although nobody asked for it
    Texts posted; ///< what is posted where it is asked for, behind the other

private:
    N make(std::string name, bool leaf)
    {
        nodes_.push_back({std::move(name), leaf, {}, {}});
        return &nodes_.back();
    }
    N create(std::string name, bool leaf)
    {
        const N node = make(std::move(name), leaf);
        renew(node);
        return node;
    }
    void renew(N node)
    {
        node->modelRenewed = ++renewals_;
        setTrafo(node);
    }
    void setTrafo(N node) { node->trafoRenewed = ++renewals_; }
    static void link(N father, N child)
    {
        father->children.push_back(child);
        child->father = father;
    }
    void append(N father, N child)
    {
        link(father, child);
        renew(father);
    }
    void move(N child, N father)
    {
        remove(child);
        append(father, child);
    }
    void remove(N child)
    {
        if (child->father == nullptr) return;
        std::erase(child->father->children, child);
        renew(child->father);
        child->father = nullptr;
    }
    static void tell(Texts& texts, N node, N father, int type)
    {
        texts.push_back("structure " + node->name + " < " + (father ? father->name : "none") + ' ' +
                        std::to_string(type));
    }
    N prepare(N node, std::size_t maxChildren, N& top)
    {
        if (node->children.size() < maxChildren) return node;
        if (node != top) {
            const N place = prepare(node->father, maxChildren, top);
            const N inner = create("Inner", false);
            append(place, inner);
            tell(always, inner, place, 1);
            return inner;
        }
        const N newTop = create(top->name, false);
        const N father = node->father;
        std::replace(father->children.begin(), father->children.end(), node, newTop);
        newTop->father = father;
        renew(father);
        append(newTop, node);
        tell(always, newTop, node, 5);
        tell(always, node, newTop, 3);
        top = newTop;
        return prepare(node, maxChildren, top);
    }
    static std::vector<N> allBelow(N node)
    {
        std::vector<N> nodes;
        for (const N child : node->children) {
            nodes.push_back(child);
            const auto below = allBelow(child);
            nodes.insert(nodes.end(), below.begin(), below.end());
        }
        return nodes;
    }

    std::deque<NaiveTreeNode> nodes_;
    long renewals_ = 0;
};
