#include "tests/transformationtree/naivetwins.h"

#include <algorithm>

void NaiveTwins::Add(const NaiveNode* naive, const Node& node)
{
    twins_[naive] =
        Twin{CbWeakPointer<ZeCTransformationNode>(node), node, node.Get(), node->GetID(), {0, 0}};
}

NaiveTwins::Node NaiveTwins::Get(const NaiveNode* naive) const
{
    return naive != nullptr ? twins_.at(naive).node.Lock() : Node();
}

std::string NaiveTwins::NameOf(const NaiveNode* naive)
{
    return naive != nullptr ? std::to_string(naive->number) : "null";
}

std::string NaiveTwins::FindDifference()
{
    const auto dead = naive_.TakeDead();
    for (const auto& node : dead) {
        const auto twin = twins_.find(node.get());
        if (twin == twins_.end()) continue; // a root that could not be set
        if (twin->second.node.Lock()) return "a node lives on: " + NameOf(node.get());
        twins_.erase(twin);
    }
    const long long newestBefore = newest_;
    std::size_t registered = 0;
    for (const auto& node : naive_.GetNodes()) {
        registered += node->registered ? 1 : 0;
        const std::string difference = findDifference(*node, newestBefore);
        if (!difference.empty()) return difference + " of node " + NameOf(node.get());
    }
    // With this no other id can be in the map.
    if (TestAccess::CountIds(manager()) != registered) return "number of ids";
    if (manager().GetRootNode() != Get(naive_.GetRoot())) return "root";
    return {};
}

std::string NaiveTwins::findDifference(const NaiveNode& naive, long long newestBefore)
{
    Twin& twin = twins_.at(&naive);
    const Node node = twin.node.Lock();
    if (!node) return "life";
    const Node father = node->GetFather();
    if (father.Get() != addressOf(naive.father)) return "father";
    if (manager().GetNodeByID(twin.id).Get() != (naive.registered ? node.Get() : nullptr)) {
        return "id";
    }
    const std::array revisions{node->GetNodeRevision(1), node->GetNodeRevision(2)};
    const bool renewed = revisions[0] > newestBefore && revisions[1] == revisions[0] + 1;
    if (naive.renewed ? !renewed : revisions != twin.revisions) return "revisions";
    twin.revisions = revisions;
    newest_ = std::max(newest_, revisions[1]);

    if (!naive.leaf) {
        const auto& inner = static_cast<const ZeCTransformationNodeInner&>(*node);
        if (!std::equal(inner.BeginChild(), inner.EndChild(), naive.children.begin(),
                        naive.children.end(), [&](const Node& child, const NaiveNode* other) {
                            return child.Get() == addressOf(other);
                        })) {
            return "children";
        }
    }
    return findMirrorDifference(naive, *node);
}

std::string NaiveTwins::findMirrorDifference(const NaiveNode& naive, const CyNode& node) const
{
    if (node.GetDataManager() != (naive.managed ? &dataManager_ : nullptr)) return "management";
    const CyNode* expectedParent = nullptr;
    if (naive.managed) {
        expectedParent = naive.father != nullptr ? addressOf(naive.father) : &dataNode_;
    }
    if (node.GetParent().Get() != expectedParent) return "parent in the data manager";
    std::vector<const CyNode*> expected;
    for (const NaiveNode* child : naive.children) {
        if (naive.managed && child->father == &naive) expected.push_back(addressOf(child));
    }
    std::vector<const CyNode*> children;
    for (const auto& child : node.GetChildren()) children.push_back(child.Get());
    std::sort(expected.begin(), expected.end()); // the data manager has an order of its own
    std::sort(children.begin(), children.end());
    return children == expected ? "" : "children in the data manager";
}
