// Edits of the tree's structure.

#include "platform/base/cbexception.h"
#include "transformationtree/manager/internal/nodemanagernames.h"
#include "transformationtree/manager/internal/refusednodes.h"
#include "transformationtree/manager/zectransformationnodemanager.h"
#include "transformationtree/nodes/internal/collectsubtree.h"
#include "transformationtree/nodes/internal/subtreewalk.h"

#include <algorithm>
#include <functional>
#include <string>
#include <utility>

namespace
{

constexpr unsigned int c_allRevisions = ZeCTransformationNode::c_allRevisions;

// The index of an entry in a father's children; their number where there is none.
std::size_t indexOf(const ZeCTransformationNodeInner& father,
                    const CbSmartPointer<const ZeCTransformationNode>& child)
{
    return static_cast<std::size_t>(father.FindChild(child) - father.BeginChild());
}

bool hasChildren(const ZeCTransformationNode& node)
{
    return !node.IsLeaf() &&
           static_cast<const ZeCTransformationNodeInner&>(node).GetNrChildren() != 0;
}

bool contains(const std::vector<ZeCTransformationNode*>& sorted, const ZeCTransformationNode* node)
{
    return std::binary_search(sorted.begin(), sorted.end(), node, std::less<>{});
}

// The nodes below a father, but for some, sorted ones, with what is below them; children before
// their father.
std::vector<CbSmartPointer<ZeCTransformationNode>>
collectBelow(ZeCTransformationNodeInner& father, const std::vector<ZeCTransformationNode*>& leftOut)
{
    std::vector<CbSmartPointer<ZeCTransformationNode>> nodes;
    WalkBelow<EDirection::Backward>(
        father, [&](ZeCTransformationNode& child, const ZeCTransformationNodeInner& above) {
            if (!child.IsChildOf(above)) return EVisit::Skip;
            if (contains(leftOut, &child)) return EVisit::Skip;
            nodes.emplace_back(&child);
            return EVisit::Enter;
        });
    std::reverse(nodes.begin(), nodes.end());
    return nodes;
}

// Each father once, in the order in which the last of its nodes leaves it.
std::vector<CbSmartPointer<ZeCTransformationNodeInner>>
distinctFathers(const std::vector<CbSmartPointer<ZeCTransformationNode>>& nodes)
{
    using Inner = CbSmartPointer<ZeCTransformationNodeInner>;
    std::vector<std::pair<Inner, std::size_t>> left; // and when
    for (std::size_t i = nodes.size(); i > 0; --i) {
        const auto& node = nodes[i - 1];
        if (!left.empty() && node->IsChildOf(*left.back().first)) continue;
        if (auto father = node->GetFather()) left.emplace_back(std::move(father), i);
    }
    const auto sameFather = [](const auto& a, const auto& b) { return a.first == b.first; };
    std::sort(left.begin(), left.end(), std::greater<>{});
    left.erase(std::unique(left.begin(), left.end(), sameFather), left.end());
    std::sort(left.begin(), left.end(),
              [](const auto& a, const auto& b) { return a.second < b.second; });
    std::vector<Inner> fathers;
    fathers.reserve(left.size());
    for (auto& [father, when] : left) fathers.push_back(std::move(father));
    return fathers;
}

template<class T>
void append(std::vector<T>& to, const std::vector<T>& more)
{
    to.insert(to.end(), more.begin(), more.end());
}

// Makes room for more children, so that their insertion can't fail.
void reserveMore(ZeCChildList& children, std::size_t number)
{
    const std::size_t needed = children->size() + number;
    if (needed > children->capacity()) {
        children.Reserve(std::max<std::size_t>({4, 2 * children->capacity(), needed}));
    }
}

} // namespace

// Also by entries whose node has another father by now, or walks down would not end. Only where a
// node at or above `node` may be such an entry is it looked for, up to the father of `top`: an
// entry further up would lead back to `top` already.
bool ZeCTransformationNodeManager::leadsTo(const ZeCTransformationNodeInner& top, const Inner& node)
{
    bool mayBeListed = false;
    for (Inner above = node; above && !top.IsChildOf(*above); above = above->GetFather()) {
        if (above.Get() == &top) return true;
        mayBeListed = mayBeListed || above->mayBeStale();
    }
    return mayBeListed && WalkBelow(top, [&](const auto& below, const auto& /*father*/) {
                              return &below == node.Get() ? EVisit::Stop : EVisit::Enter;
                          }) != nullptr;
}

void ZeCTransformationNodeManager::requireInsertable(const Inner& father, const Node& child,
                                                     const char* file, unsigned line,
                                                     const char* function,
                                                     const Nodes& atOrAboveFather) const
{
    const auto require = [&](bool condition, const char* otherwise) {
        if (condition) return;
        const std::string node = child ? ": " + child->GetID().ToString().ToUtf8() : std::string();
        throw CbException(file, line, function, otherwise + node);
    };
    require(father != nullptr, "the father is null");
    require(child != nullptr, "the child is null");
    if (child->IsLeaf()) return;
    require(child != father, "the node would be its own father");
    const auto& inner = static_cast<const ZeCTransformationNodeInner&>(*child);
    const auto wouldBeBelowItself = [&] {
        if (atOrAboveFather.empty()) return leadsTo(inner, father);
        return contains(atOrAboveFather, child.Get());
    };
    // Nothing can stand below a childless node, so deep chains are built without looking up.
    require(inner.GetNrChildren() == 0 || !wouldBeBelowItself(),
            "the node would stand below itself");
    require(&inner != rootAddress_.load(), "the manager's root can't be a child");
}

ZeCTransformationNodeManager::Nodes ZeCTransformationNodeManager::collectUpwards(const Inner& node)
{
    Nodes nodes;
    for (Inner above = node; above; above = above->GetFather()) {
        if (above->mayBeStale()) return {};
        nodes.push_back(above.Get());
    }
    std::sort(nodes.begin(), nodes.end(), std::less<>{});
    return nodes;
}

void ZeCTransformationNodeManager::eraseStaleEntry(ZeCTransformationNodeInner& father,
                                                   const ZeCTransformationNode& child,
                                                   std::size_t& index)
{
    if (!child.mayBeStale() || child.IsChildOf(father)) return;
    const std::size_t stale = indexOf(father, CbSmartPointer<const ZeCTransformationNode>(&child));
    if (stale == father.children_->size()) return;
    father.children_.Erase(stale);
    if (stale < index) --index;
}

void ZeCTransformationNodeManager::insertLinked(const Inner& father, std::size_t index,
                                                const Node& child)
{
    eraseStaleEntry(*father, *child, index);
    father->children_.Insert(index, child);
    child->setFather(father);
}

void ZeCTransformationNodeManager::InsertChild(
    const Inner& father, ZeCTransformationNodeInner::ConstChildIterator position,
    const Node& insertedChild)
{
    constexpr const char* function = "ZeCTransformationNodeManager::InsertChild";
    const Node child = insertedChild; // may be a reference into the children
    requireInsertable(father, child, c_nodeManagerFile, 279, function);
    if (child->IsChildOf(*father)) return;
    if (child->GetFather()) {
        throw CbException(c_nodeManagerFile, 279, function,
                          "node " + child->GetID().ToString().ToUtf8() + " has a father");
    }
    const bool managed = IsNodeInDataManager(father);
    const Nodes added = managed ? CollectPreOrder(*child) : Nodes{};
    insertLinked(father, static_cast<std::size_t>(position - father->BeginChild()), child);
    addNodesToDataManager(added);
    father->NewNodeRevision(c_allRevisions);
}

void ZeCTransformationNodeManager::InsertChild(const Inner& father, const ConstNode& before,
                                               const Node& child)
{
    ZeCTransformationNodeInner::ConstChildIterator position;
    if (father) position = father->FindChild(before);
    InsertChild(father, position, child);
}

void ZeCTransformationNodeManager::AppendChild(const Inner& father, const Node& child, bool atEnd)
{
    ZeCTransformationNodeInner::ConstChildIterator position;
    if (father) position = atEnd ? father->EndChild() : father->BeginChild();
    InsertChild(father, position, child);
}

void ZeCTransformationNodeManager::RemoveChild(const Inner& father, const Node& child)
{
    if (!father) return;
    // The last one is found at once, for whoever takes children away from the back.
    const bool last = child && child == father->BackChild();
    const auto& children = std::as_const(*father);
    const auto position = last ? children.LastChild() : children.FindChild(child);
    if (position != std::as_const(*father).EndChild()) removeChild(father, position);
}

void ZeCTransformationNodeManager::removeChild(
    const Inner& father, ZeCTransformationNodeInner::ConstChildIterator position)
{
    RefusedNodes refused(CB_HERE);
    const Node child = *position; // keeps it, and what is below it, until the edit is done
    const bool own = child && child->IsChildOf(*father);
    if (own && IsNodeInDataManager(child)) {
        // A node without children needs no list of what is below it, and so no memory.
        hasChildren(*child) ? removeNodesFromDataManager(CollectPostOrder(*child), refused)
                            : takeOutOfDataManager(CyNodeView(child), refused);
    }
    father->children_.Erase(static_cast<std::size_t>(position - father->children_->begin()));
    if (own) child->setFather(nullptr);
    father->NewNodeRevision(c_allRevisions);
}

void ZeCTransformationNodeManager::ReplaceChild(const Inner& father, const Node& oldChild,
                                                const Node& newChild)
{
    putInPlace(father, oldChild, newChild, EPlacing::Replace);
}

void ZeCTransformationNodeManager::ExchangeChild(const Inner& father, const Node& oldChild,
                                                 const Node& newChild)
{
    putInPlace(father, oldChild, newChild, EPlacing::Exchange);
}

void ZeCTransformationNodeManager::putInPlace(const Inner& father, const Node& oldChild,
                                              const Node& newChild, EPlacing placing)
{
    const bool replace = placing == EPlacing::Replace;
    const char* const function = replace ? "ZeCTransformationNodeManager::ReplaceChild"
                                         : "ZeCTransformationNodeManager::ExchangeChild";
    const Node old = oldChild; // may be a reference into the children
    const Node child = newChild;
    if (!father) throw CbException(__FILE__, __LINE__, function, "the father is null");
    std::size_t index = indexOf(*father, old);
    if (index == father->children_->size() || child == old) return;
    requireInsertable(father, child, __FILE__, __LINE__, function);
    const bool own = old && old->IsChildOf(*father);
    if (child->IsChildOf(*father) || (replace && own && IsAtOrBelow(*child, *old))) {
        throw CbException(__FILE__, __LINE__, function,
                          "the new child is the father's already, or below the old child: " +
                              child->GetID().ToString().ToUtf8());
    }

    const bool managed = IsNodeInDataManager(father);
    const Nodes added = managed ? CollectPreOrder(*child) : Nodes{};
    const bool oldManaged = own && IsNodeInDataManager(old);
    std::vector<Node> leaving;
    std::vector<Node> oldNodes;
    if (IsNodeInDataManager(child)) leaving = CollectPostOrder(*child);
    if (oldManaged || (own && replace)) oldNodes = CollectPostOrder(*old);
    RefusedNodes refused(CB_HERE);
    if (replace) registerNodes(added); // the last step that can fail for want of memory
    if (own) {
        if (oldManaged) removeNodesFromDataManager(oldNodes, refused);
        old->setFather(nullptr);
        if (replace) {
            if (!oldManaged) takeOutOfDataManager(CyNodeView(oldNodes), refused);
            for (const Node& node : oldNodes) {
                if (!node->IsLeaf()) node->NewNodeRevision(c_allRevisions);
                takeApart(node);
            }
        }
    }
    if (IsNodeInDataManager(child)) removeNodesFromDataManager(leaving, refused);
    eraseStaleEntry(*father, *child, index);
    father->children_.Replace(index, child); // the new child's old father goes on listing it
    child->setFather(father);
    addNodesToDataManager(added);
    father->NewNodeRevision(c_allRevisions);
}

void ZeCTransformationNodeManager::MoveNode(const Inner& newFather, const Node& movedNode,
                                            const ConstNode& beforeNode)
{
    const Node node = movedNode; // may be a reference into the children
    const ConstNode before = beforeNode;
    requireInsertable(newFather, node, __FILE__, __LINE__,
                      "ZeCTransformationNodeManager::MoveNode");
    const Inner oldFather = node->GetFather();
    const bool stays = oldFather == newFather;
    const bool managed = IsNodeInDataManager(newFather) && dataManager_.load() != nullptr;
    const bool comesIn = managed && !IsNodeInDataManager(node);
    const Nodes added = comesIn ? CollectPreOrder(*node) : Nodes{};
    RefusedNodes refused(CB_HERE);
    const std::size_t oldIndex = oldFather ? indexOf(*oldFather, node) : 0;
    if (!stays) reserveMore(newFather->children_, 1);

    if (oldFather && managed) {
        auto& children = oldFather->children_;
        // Nothing to erase where the father does not list the node.
        if (oldIndex < children->size()) children.Erase(oldIndex);
        node->setFather(nullptr);
        oldFather->NewNodeRevision(c_allRevisions);
    } else if (oldFather) {
        RemoveChild(oldFather, node);
    }
    // Looked up now that the node has left its old place. In front of itself is where it was.
    std::size_t index = indexOf(*newFather, before);
    if (before == node) index = stays ? oldIndex : newFather->children_->size();
    insertLinked(newFather, index, node);
    newFather->NewNodeRevision(c_allRevisions);
    if (comesIn) {
        addNodesToDataManager(added);
    } else if (managed) {
        moveInDataManager(CyNodeView(node), newFather, refused);
    }
}

void ZeCTransformationNodeManager::MoveNodes(const Inner& newFather, const std::vector<Node>& nodes)
{
    moveNodes(newFather, nodes, EOthers::Keep, "ZeCTransformationNodeManager::MoveNodes");
}

void ZeCTransformationNodeManager::ReplaceChildren(const Inner& father,
                                                   const std::vector<Node>& children)
{
    moveNodes(father, children, EOthers::Drop, "ZeCTransformationNodeManager::ReplaceChildren");
}

void ZeCTransformationNodeManager::DeleteChildren(const Inner& father,
                                                  const std::function<void()>& first)
{
    if (!father) return;
    moveNodes(father, {}, EOthers::Drop, "ZeCTransformationNodeManager::DeleteChildren", first);
}

void ZeCTransformationNodeManager::moveNodes(const Inner& newFather, const std::vector<Node>& nodes,
                                             EOthers others, const char* function,
                                             const std::function<void()>& first)
{
    if (!newFather) throw CbException(__FILE__, __LINE__, function, "the father is null");
    const Inner father = newFather; // may be held by what is dropped
    auto& children = father->children_;
    const bool drop = others == EOthers::Drop;
    if (nodes.empty() && (!drop || children->empty())) {
        if (first) first();
        return;
    }
    const bool anyHasChildren = std::any_of(
        nodes.begin(), nodes.end(), [](const Node& node) { return node && hasChildren(*node); });
    const Nodes atOrAboveFather = anyHasChildren ? collectUpwards(father) : Nodes{};
    for (const Node& node : nodes) {
        requireInsertable(father, node, __FILE__, __LINE__, function, atOrAboveFather);
    }
    // By address, which is quicker where nodes lie scattered.
    Nodes sorted;
    sorted.reserve(nodes.size());
    for (const Node& node : nodes) sorted.push_back(node.Get());
    std::sort(sorted.begin(), sorted.end(), std::less<>{});
    const auto twice = std::adjacent_find(sorted.begin(), sorted.end());
    if (twice != sorted.end()) {
        throw CbException(__FILE__, __LINE__, function,
                          "node " + (*twice)->GetID().ToString().ToUtf8() + " is named twice");
    }

    const bool managed = IsNodeInDataManager(father) && dataManager_.load() != nullptr;
    Nodes comingIn;
    std::vector<Node> leaving;
    for (const Node& node : nodes) {
        if (managed == IsNodeInDataManager(node)) continue;
        managed ? append(comingIn, CollectPreOrder(*node))
                : append(leaving, CollectPostOrder(*node));
    }
    const auto oldFathers = distinctFathers(nodes);
    const auto dropped = drop ? collectBelow(*father, sorted) : std::vector<Node>{};
    ZeCChildList replaced; // the old entries, which go when the edit is done
    reserveMore(drop ? replaced : children, nodes.size());
    RefusedNodes refused(CB_HERE);

    if (first) first();
    removeNodesFromDataManager(leaving, refused);
    relink(sorted, oldFathers, father);
    if (drop) replaced.Swap(children);
    children.Append(nodes);
    if (managed) {
        moveInDataManager(CyNodeView(nodes), father, refused);
        addNodesToDataManager(comingIn);
    }
    // After the others have left, since with data nodes below it a node can't.
    takeOutOfDataManager(CyNodeView(dropped), refused);
    for (const Node& node : dropped) {
        if (hasChildren(*node)) node->NewNodeRevision(c_allRevisions);
        takeApart(node);
    }
    father->NewNodeRevision(c_allRevisions);
}

void ZeCTransformationNodeManager::relink(const Nodes& nodes, const std::vector<Inner>& oldFathers,
                                          const Inner& newFather)
{
    if (std::any_of(nodes.begin(), nodes.end(), [](auto* node) { return node->mayBeStale(); })) {
        newFather->children_.EraseIf(
            [&](const Node& child) { return contains(nodes, child.Get()); });
    }
    for (ZeCTransformationNode* const node : nodes) node->setFather(nullptr);
    for (const Inner& father : oldFathers) {
        father->children_.EraseIf(
            [&](const Node& child) { return !child || !child->IsChildOf(*father); });
        father->NewNodeRevision(c_allRevisions);
    }
    for (ZeCTransformationNode* const node : nodes) node->setFather(newFather);
}

void ZeCTransformationNodeManager::takeApart(const Node& node)
{
    DeleteNode(node);
    cutLinks(node);
}

void ZeCTransformationNodeManager::cutLinks(const Node& node)
{
    node->setFather(nullptr);
    if (!node->IsLeaf()) static_cast<ZeCTransformationNodeInner&>(*node).children_.Clear();
}
