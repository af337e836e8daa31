#pragma once

#include "platform/base/cbweakpointer.h"
#include "tests/support/treetestaccess.h"
#include "tests/transformationtree/manager/naivetree.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string>
#include <vector>

/// The library's nodes beside the naive ones, to compare them.
class NaiveTwins
{
public:
    using Node = CbSmartPointer<ZeCTransformationNode>;

    NaiveTwins(NaiveTree& naive, const CyDataManager& dataManager, const CyNode& dataNode)
        : naive_(naive), dataManager_(dataManager), dataNode_(dataNode)
    {}

    /// Pairs a node with its twin, and holds it.
    void Add(const NaiveNode* naive, const Node& node)
    {
        twins_[naive] = Twin{
            CbWeakPointer<ZeCTransformationNode>(node), node, node.Get(), node->GetID(), {0, 0}};
    }
    /// Holds the twin no longer; it may live on.
    void Release(const NaiveNode* naive) { twins_.at(naive).held = nullptr; }
    /// The twin of a node; null for null.
    [[nodiscard]] Node Get(const NaiveNode* naive) const
    {
        return naive != nullptr ? twins_.at(naive).node.Lock() : Node();
    }
    [[nodiscard]] static std::string NameOf(const NaiveNode* naive)
    {
        return naive != nullptr ? std::to_string(naive->number) : "null";
    }

    /// The first difference between the two sides after an edit; empty where there is none.
    [[nodiscard]] std::string FindDifference()
    {
        const auto dead = naive_.TakeDead();
        for (const auto& node : dead) {
            const auto twin = twins_.find(node.get());
            if (twin == twins_.end()) continue; // a root that could not be set
            if (twin->second.node.Lock()) return "a node lives on: " + NameOf(node.get());
            twins_.erase(twin);
        }
        const ZeTNodeRevision newestBefore = newest_;
        std::size_t registered = 0;
        std::set<const NaiveNode*> stale; // listed by another node than the father
        for (const auto& node : naive_.GetNodes()) {
            for (const NaiveNode* child : node->children) {
                if (child->father != node.get()) stale.insert(child);
            }
        }
        std::map<long, ZeTNodeRevision>
            renewals; // revisions of renewed nodes, in the order of renewal
        for (const auto& node : naive_.GetNodes()) {
            registered += node->registered ? 1 : 0;
            const std::string difference = findDifference(*node, newestBefore);
            if (!difference.empty()) return difference + " of node " + NameOf(node.get());
            const Node twin = twins_.at(node.get()).node.Lock();
            if (TestAccess::MayBeStale(*twin) != stale.contains(node.get())) return "stale entries";
            if (node->renewed != 0) renewals[node->renewed] = twin->GetNodeRevision(1);
        }
        const auto isOlder = [](const auto& a, const auto& b) { return a.second < b.second; };
        if (!std::is_sorted(renewals.begin(), renewals.end(), isOlder)) return "order of revisions";
        // With this no other id can be in the map.
        if (TestAccess::CountIds(TheManager()) != registered) return "number of ids";
        if (TheManager().GetRootNode() != Get(naive_.GetRoot())) return "root";
        return {};
    }

private:
    struct Twin
    {
        CbWeakPointer<ZeCTransformationNode> node;
        Node held;
        const ZeCTransformationNode* address;
        CyUniqueID id;
        std::array<ZeTNodeRevision, 2> revisions;
    };

    [[nodiscard]] std::string findDifference(const NaiveNode& naive, ZeTNodeRevision newestBefore)
    {
        Twin& twin = twins_.at(&naive);
        const Node node = twin.node.Lock();
        if (!node) return "life";
        const Node father = node->GetFather();
        if (father.Get() != addressOf(naive.father)) return "father";
        if (TheManager().GetNodeByID(twin.id).Get() != (naive.registered ? node.Get() : nullptr)) {
            return "id";
        }
        const std::array revisions{node->GetNodeRevision(1), node->GetNodeRevision(2)};
        const bool renewed = revisions[0] > newestBefore && revisions[1] == revisions[0] + 1;
        if (naive.renewed != 0 ? !renewed : revisions != twin.revisions) return "revisions";
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
    [[nodiscard]] std::string findMirrorDifference(const NaiveNode& naive, const CyNode& node) const
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
    [[nodiscard]] const ZeCTransformationNode* addressOf(const NaiveNode* naive) const
    {
        return naive != nullptr ? twins_.at(naive).address : nullptr;
    }

    NaiveTree& naive_;
    const CyDataManager& dataManager_;
    const CyNode& dataNode_;
    std::map<const NaiveNode*, Twin> twins_;
    ZeTNodeRevision newest_ = 0; ///< revision
};
