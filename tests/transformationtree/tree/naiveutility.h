#pragma once

#include "tests/transformationtree/manager/naivetree.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// Restructures plain nodes step by step, and writes down what it posts.
class NaiveUtility
{
public:
    using N = NaiveNode*;
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
        for (auto i = inner.BeginChild(); i != inner.EndChild(); ++i) append(copy, Read(**i));
        tree_.StartEdit();
        return copy;
    }
    void Merge(N source, N target)
    {
        while (!source->children.empty()) {
            const N child = source->children.front();
            tree_.RenewTrafo(*child);
            tree_.Move(target, child, nullptr);
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
            tree_.RenewTrafo(*copy);
            current = prepare(current, maxChildren, top);
            top = model->children.back();
            append(current, copy);
        }
        RemoveChildren(root);
        while (!top->children.empty()) tree_.Move(root, top->children.front(), nullptr);
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
        tree_.Remove(father, node);
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
        for (const N leaf : leaves) tree_.RenewTrafo(*leaf);
        std::sort(leaves.begin(), leaves.end(), [](N a, N b) { return a->order < b->order; });
        for (const N leaf : leaves) {
            tree_.Move(root, leaf, nullptr);
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
        const N node = tree_.Create(leaf);
        node->name = std::move(name);
        return node;
    }
    N create(std::string name, bool leaf)
    {
        const N node = make(std::move(name), leaf);
        tree_.Renew(*node);
        return node;
    }
    void append(N father, N child) { tree_.Insert(father, father->children.size(), child); }
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
        tree_.Exchange(node->father, node, newTop);
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

    NaiveTree tree_;
};
