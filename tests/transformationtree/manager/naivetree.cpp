#include "tests/transformationtree/manager/naivetree.h"

#include <algorithm>
#include <set>
#include <utility>

namespace
{

const std::string c_manager = "ZeCTransformationNodeManager::";

// True where `target` is found when the lists of children are followed from `from`.
bool leadsTo(const NaiveNode& from, const NaiveNode& target)
{
    return &from == &target ||
           std::any_of(from.children.begin(), from.children.end(),
                       [&](const NaiveNode* child) { return leadsTo(*child, target); });
}

bool isBelow(const NaiveNode* node, const NaiveNode& top)
{
    return node != nullptr && (node->father == &top || isBelow(node->father, top));
}

template<class T>
void eraseAt(std::vector<T>& values, std::size_t index)
{
    values.erase(values.begin() + static_cast<std::ptrdiff_t>(index));
}

} // namespace

std::size_t NaiveTree::IndexOf(const NaiveNode& father, const NaiveNode* child)
{
    const auto& children = father.children;
    return static_cast<std::size_t>(std::find(children.begin(), children.end(), child) -
                                    children.begin());
}

std::vector<NaiveNode*> NaiveTree::Subtree(NaiveNode& top)
{
    std::vector<NaiveNode*> nodes;
    for (NaiveNode* const child : top.children) {
        if (child->father != &top) continue;
        for (NaiveNode* const node : Subtree(*child)) nodes.push_back(node);
    }
    nodes.push_back(&top);
    return nodes;
}

NaiveNode* NaiveTree::Create(bool leaf)
{
    nodes_.push_back(std::make_unique<NaiveNode>(NaiveNode{created_++, leaf, {}, {}}));
    return nodes_.back().get();
}

bool NaiveTree::Link() { return !std::exchange(linked_, true); }

bool NaiveTree::Unlink()
{
    if (root_ != nullptr) return false;
    linked_ = false;
    return true;
}

NaiveTree::Refusal NaiveTree::SetRoot(NaiveNode* root)
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

void NaiveTree::UnsetRoot()
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

bool NaiveTree::isInsertable(const NaiveNode* father, const NaiveNode* child) const
{
    return father != nullptr && child != nullptr && child != root_ && !leadsTo(*child, *father);
}

NaiveTree::Refusal NaiveTree::Insert(NaiveNode* father, std::size_t index, NaiveNode* child)
{
    const NaiveRefusal refusal{c_manager + "InsertChild", 279};
    if (!isInsertable(father, child)) return refusal;
    if (child->father == father) return {};
    if (child->father != nullptr) return refusal;
    link(*father, index, *child);
    if (father->managed) bringIn(*child, false);
    renew(*father);
    return {};
}

NaiveTree::Refusal NaiveTree::InsertBefore(NaiveNode* father, const NaiveNode* before,
                                           NaiveNode* child)
{
    return Insert(father, father != nullptr ? IndexOf(*father, before) : 0, child);
}

void NaiveTree::Remove(NaiveNode* father, NaiveNode* child)
{
    if (father == nullptr) return;
    const std::size_t index = IndexOf(*father, child);
    if (index == father->children.size()) return;
    if (child->father == father) {
        if (child->managed) takeOut(*child);
        child->father = nullptr;
    }
    eraseAt(father->children, index);
    renew(*father);
}

NaiveTree::Refusal NaiveTree::Replace(NaiveNode* father, NaiveNode* oldChild, NaiveNode* newChild)
{
    return put(c_manager + "ReplaceChild", father, oldChild, newChild, true);
}

NaiveTree::Refusal NaiveTree::Exchange(NaiveNode* father, NaiveNode* oldChild, NaiveNode* newChild)
{
    return put(c_manager + "ExchangeChild", father, oldChild, newChild, false);
}

NaiveTree::Refusal NaiveTree::put(const std::string& function, NaiveNode* father,
                                  NaiveNode* oldChild, NaiveNode* newChild, bool replace)
{
    const NaiveRefusal refusal{function};
    if (father == nullptr) return refusal;
    if (IndexOf(*father, oldChild) == father->children.size() || newChild == oldChild) return {};
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
            if (!node->leaf) renew(*node);
        }
    }
    if (newChild->managed) takeOut(*newChild);
    std::erase(father->children, newChild);
    father->children[IndexOf(*father, oldChild)] = newChild;
    newChild->father = father;
    if (father->managed) bringIn(*newChild, replace);
    renew(*father);
    return {};
}

NaiveTree::Refusal NaiveTree::Move(NaiveNode* newFather, NaiveNode* node, const NaiveNode* before)
{
    if (!isInsertable(newFather, node)) return NaiveRefusal{c_manager + "MoveNode"};
    NaiveNode* const oldFather = node->father;
    std::size_t index = newFather->children.size();
    if (oldFather != nullptr) {
        const std::size_t oldIndex = IndexOf(*oldFather, node);
        if (newFather->managed) {
            eraseAt(oldFather->children, oldIndex);
            renew(*oldFather);
        } else {
            Remove(oldFather, node);
        }
        if (oldFather == newFather) index = oldIndex; // where it stays if put in front of itself
    }
    link(*newFather, before == node ? index : IndexOf(*newFather, before), *node);
    renew(*newFather);
    if (newFather->managed) bringIn(*node, false);
    return {};
}

void NaiveTree::AddSubtree(NaiveNode& node)
{
    for (NaiveNode* const below : Subtree(node)) below->registered = true;
}

void NaiveTree::link(NaiveNode& father, std::size_t index, NaiveNode& child)
{
    const std::size_t stale = IndexOf(father, &child);
    if (stale != father.children.size()) {
        eraseAt(father.children, stale);
        if (stale < index) --index;
    }
    father.children.insert(father.children.begin() + static_cast<std::ptrdiff_t>(index), &child);
    child.father = &father;
}

void NaiveTree::bringIn(NaiveNode& top, bool registered)
{
    for (NaiveNode* const node : Subtree(top)) {
        node->managed = true;
        if (registered) node->registered = true;
    }
}

void NaiveTree::takeOut(NaiveNode& top)
{
    for (NaiveNode* const node : Subtree(top)) {
        node->managed = false;
        if (std::erase_if(node->children, [&](auto* child) { return child->father != node; })) {
            renew(*node);
        }
    }
}

void NaiveTree::StartEdit()
{
    for (const auto& node : nodes_) node->renewed = 0;
}

std::vector<std::unique_ptr<NaiveNode>> NaiveTree::TakeDead()
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
    const auto firstDead = std::stable_partition(
        nodes_.begin(), nodes_.end(), [&](const auto& node) { return alive.contains(node.get()); });
    std::vector<std::unique_ptr<NaiveNode>> dead(std::make_move_iterator(firstDead),
                                                 std::make_move_iterator(nodes_.end()));
    nodes_.erase(firstDead, nodes_.end());
    for (const auto& node : nodes_) {
        if (node->father != nullptr && !alive.contains(node->father)) node->father = nullptr;
    }
    return dead;
}
