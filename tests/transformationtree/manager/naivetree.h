#pragma once

#include "platform/base/cyuniqueid.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// A node of the naive tree.
struct NaiveNode
{
    int number;
    bool leaf;
    NaiveNode* father = nullptr;
    std::vector<NaiveNode*> children; ///< also nodes that have another father by now
    bool managed = false;             ///< in the data manager
    bool registered = true;           ///< found by its id
    bool held = true;                 ///< the test has a reference
    // When the revisions were renewed in the last edit, by number; 0 for not at all.
    long renewed = 1;
    long trafoRenewed = 0;
    // What the manager does not look at.
    std::string name = {};
    std::string star = {}; ///< for a model
    std::pair<std::uint64_t, CyUniqueID> order = {};
};

/// The exception that an edit has to end with. Line 0 stands for any line.
struct NaiveRefusal
{
    std::string function;
    unsigned line = 0;
};

/// What the node manager has to do, written down without a thought for speed: plain nodes, plain
/// recursion, and nothing of the library but ids to sort by.
class NaiveTree
{
public:
    using Refusal = std::optional<NaiveRefusal>;

    NaiveNode* Create(bool leaf)
    {
        nodes_.push_back(std::make_unique<NaiveNode>(NaiveNode{created_++, leaf, {}, {}}));
        return nodes_.back().get();
    }
    [[nodiscard]] bool Link() { return !std::exchange(linked_, true); }
    [[nodiscard]] bool Unlink()
    {
        if (root_ != nullptr) return false;
        linked_ = false;
        return true;
    }
    Refusal SetRoot(NaiveNode* root)
    {
        const std::string function = c_manager + "SetRootNode";
        if (root == nullptr || root->father != nullptr || root->managed || root_ != nullptr) {
            return NaiveRefusal{function, 1223};
        }
        if (!linked_) return NaiveRefusal{function, 1231};
        root_ = root;
        bringIn(*root, true);
        return {};
    }
    void UnsetRoot()
    {
        if (root_ == nullptr) return;
        const auto nodes = Subtree(*root_);
        for (NaiveNode* const child : root_->children) {
            if (child->father == root_) takeOut(*child);
        }
        root_->managed = false;
        root_ = nullptr;
        for (NaiveNode* const node : nodes) {
            node->registered = false;
            node->father = nullptr;
            node->children.clear();
        }
    }
    Refusal Insert(NaiveNode* father, std::size_t index, NaiveNode* child)
    {
        const NaiveRefusal refusal{c_manager + "InsertChild", 279};
        if (!isInsertable(father, child)) return refusal;
        if (child->father == father) return {};
        if (child->father != nullptr) return refusal;
        link(*father, index, *child);
        if (father->managed) bringIn(*child, false);
        Renew(*father);
        return {};
    }
    Refusal InsertBefore(NaiveNode* father, const NaiveNode* before, NaiveNode* child)
    {
        return Insert(father, father != nullptr ? IndexOf(*father, before) : 0, child);
    }
    Refusal Remove(NaiveNode* father, NaiveNode* child)
    {
        if (father == nullptr) return {};
        const std::size_t index = IndexOf(*father, child);
        if (index == father->children.size()) return {};
        if (child->father == father) {
            if (child->managed) takeOut(*child);
            child->father = nullptr;
        }
        eraseAt(father->children, index);
        Renew(*father);
        return {};
    }
    Refusal Replace(NaiveNode* father, NaiveNode* oldChild, NaiveNode* newChild)
    {
        return put(c_manager + "ReplaceChild", father, oldChild, newChild, true);
    }
    Refusal Exchange(NaiveNode* father, NaiveNode* oldChild, NaiveNode* newChild)
    {
        return put(c_manager + "ExchangeChild", father, oldChild, newChild, false);
    }
    Refusal Move(NaiveNode* newFather, NaiveNode* node, const NaiveNode* before)
    {
        if (!isInsertable(newFather, node)) return NaiveRefusal{c_manager + "MoveNode"};
        NaiveNode* const oldFather = node->father;
        std::size_t index = newFather->children.size();
        if (oldFather != nullptr) {
            const std::size_t oldIndex = IndexOf(*oldFather, node);
            if (newFather->managed) {
                eraseAt(oldFather->children, oldIndex);
                Renew(*oldFather);
            } else {
                Remove(oldFather, node);
            }
            if (oldFather == newFather) index = oldIndex; // put in front of itself it stays
        }
        link(*newFather, before == node ? index : IndexOf(*newFather, before), *node);
        Renew(*newFather);
        if (newFather->managed) bringIn(*node, false);
        return {};
    }
    void Delete(NaiveNode& node) { node.registered = false; }
    Refusal AddSubtree(NaiveNode& node)
    {
        for (NaiveNode* const below : Subtree(node)) below->registered = true;
        return {};
    }

    /// Renews both revisions.
    void Renew(NaiveNode& node)
    {
        node.renewed = ++renewals_;
        RenewTrafo(node);
    }
    void RenewTrafo(NaiveNode& node) { node.trafoRenewed = ++renewals_; }
    /// Forgets what the last edit renewed.
    void StartEdit()
    {
        for (const auto& node : nodes_) node->renewed = node->trafoRenewed = 0;
    }
    /// Takes the nodes out that nothing refers to any more, and returns them.
    [[nodiscard]] std::vector<std::unique_ptr<NaiveNode>> TakeDead()
    {
        std::set<const NaiveNode*> alive;
        std::vector<const NaiveNode*> found;
        for (const auto& node : nodes_) {
            if (node->held || node->registered || node->managed) found.push_back(node.get());
        }
        while (!found.empty()) {
            const NaiveNode* const node = found.back();
            found.pop_back();
            if (!alive.insert(node).second) continue;
            found.insert(found.end(), node->children.begin(), node->children.end());
        }
        const auto firstDead =
            std::stable_partition(nodes_.begin(), nodes_.end(),
                                  [&](const auto& node) { return alive.contains(node.get()); });
        std::vector<std::unique_ptr<NaiveNode>> dead(std::make_move_iterator(firstDead),
                                                     std::make_move_iterator(nodes_.end()));
        nodes_.erase(firstDead, nodes_.end());
        for (const auto& node : nodes_) {
            if (node->father != nullptr && !alive.contains(node->father)) node->father = nullptr;
        }
        return dead;
    }

    [[nodiscard]] const std::vector<std::unique_ptr<NaiveNode>>& GetNodes() const { return nodes_; }
    [[nodiscard]] NaiveNode* GetRoot() const { return root_; }
    /// The place of an entry; the number of children where there is none.
    [[nodiscard]] static std::size_t IndexOf(const NaiveNode& father, const NaiveNode* child)
    {
        const auto& children = father.children;
        return static_cast<std::size_t>(std::find(children.begin(), children.end(), child) -
                                        children.begin());
    }
    /// The node and what stands below it, children before their father, without the entries that
    /// have another father.
    [[nodiscard]] static std::vector<NaiveNode*> Subtree(NaiveNode& top)
    {
        std::vector<NaiveNode*> nodes;
        for (NaiveNode* const child : top.children) {
            if (child->father != &top) continue;
            for (NaiveNode* const node : Subtree(*child)) nodes.push_back(node);
        }
        nodes.push_back(&top);
        return nodes;
    }

private:
    // True where `target` is found when the lists of children are followed from `from`.
    static bool leadsTo(const NaiveNode& from, const NaiveNode& target)
    {
        return &from == &target ||
               std::any_of(from.children.begin(), from.children.end(),
                           [&](const NaiveNode* child) { return leadsTo(*child, target); });
    }
    static bool isBelow(const NaiveNode* node, const NaiveNode& top)
    {
        return node != nullptr && (node->father == &top || isBelow(node->father, top));
    }
    static void eraseAt(std::vector<NaiveNode*>& nodes, std::size_t index)
    {
        nodes.erase(nodes.begin() + static_cast<std::ptrdiff_t>(index));
    }
    [[nodiscard]] bool isInsertable(const NaiveNode* father, const NaiveNode* child) const
    {
        return father != nullptr && child != nullptr && child != root_ && !leadsTo(*child, *father);
    }
    static void link(NaiveNode& father, std::size_t index, NaiveNode& child)
    {
        const std::size_t stale = IndexOf(father, &child);
        if (stale != father.children.size()) {
            eraseAt(father.children, stale);
            if (stale < index) --index;
        }
        father.children.insert(father.children.begin() + static_cast<std::ptrdiff_t>(index),
                               &child);
        child.father = &father;
    }
    static void bringIn(NaiveNode& top, bool registered)
    {
        for (NaiveNode* const node : Subtree(top)) {
            node->managed = true;
            if (registered) node->registered = true;
        }
    }
    void takeOut(NaiveNode& top)
    {
        for (NaiveNode* const node : Subtree(top)) {
            node->managed = false;
            if (std::erase_if(node->children, [&](auto* child) { return child->father != node; })) {
                Renew(*node);
            }
        }
    }
    Refusal put(const std::string& function, NaiveNode* father, NaiveNode* oldChild,
                NaiveNode* newChild, bool replace)
    {
        const NaiveRefusal refusal{function};
        if (father == nullptr) return refusal;
        if (IndexOf(*father, oldChild) == father->children.size() || newChild == oldChild)
            return {};
        const bool own = oldChild->father == father;
        if (!isInsertable(father, newChild) || newChild->father == father) return refusal;
        if (replace && own && isBelow(newChild, *oldChild)) return refusal;

        if (own) {
            if (oldChild->managed) takeOut(*oldChild);
            oldChild->father = nullptr;
        }
        if (own && replace) {
            for (NaiveNode* const node : Subtree(*oldChild)) {
                node->registered = false;
                node->father = nullptr;
                node->children.clear();
                if (!node->leaf) Renew(*node);
            }
        }
        if (newChild->managed) takeOut(*newChild);
        std::erase(father->children, newChild);
        father->children[IndexOf(*father, oldChild)] = newChild;
        newChild->father = father;
        if (father->managed) bringIn(*newChild, replace);
        Renew(*father);
        return {};
    }

    inline static const std::string c_manager = "ZeCTransformationNodeManager::";

    std::vector<std::unique_ptr<NaiveNode>> nodes_;
    NaiveNode* root_ = nullptr;
    bool linked_ = false;
    int created_ = 0;
    long renewals_ = 1;
};
