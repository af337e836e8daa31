// The removal of a subtree, in the data manager under one lock and outside.

#include "benchmarks/support/ratiobenchmark.h"
#include "benchmarks/transformationtree/manager/managedtree.h"
#include "benchmarks/transformationtree/walks/plaintree.h"
#include "transformationtree/tree/zectransformationtreeutility.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace
{

// The reference: children are counted, and each node has an entry in a map.
struct CountedNode
{
    PlainNode node;
    CyUniqueID id;
    std::vector<std::shared_ptr<CountedNode>> children;
};

class PlainPlace
{
public:
    void Build(const std::vector<int>& shape)
    {
        std::vector<std::shared_ptr<CountedNode>> nodes;
        for (std::size_t i = 0; i < shape.size(); ++i) {
            const auto node = std::make_shared<CountedNode>();
            node->node.trafo = SomeTrafo(i);
            node->id.Renew();
            nodes_.emplace(node->id, node);
            auto& father = shape[i] < 0 ? father_ : *nodes[static_cast<std::size_t>(shape[i])];
            father.children.push_back(node);
            nodes.push_back(node);
        }
        top_ = nodes.front();
    }
    void Remove()
    {
        std::erase(father_.children, top_);
        std::vector<std::shared_ptr<CountedNode>> open;
        open.push_back(std::move(top_));
        while (!open.empty()) {
            const auto node = std::move(open.back());
            open.pop_back();
            nodes_.erase(node->id);
            std::move(node->children.begin(), node->children.end(), std::back_inserter(open));
            node->children.clear();
        }
    }

private:
    CountedNode father_;
    std::shared_ptr<CountedNode> top_;
    std::unordered_map<CyUniqueID, std::shared_ptr<CountedNode>, CbHashKey<CyUniqueID>> nodes_;
};

// Where subtrees come and go: below the root of a managed tree, or below a node outside.
class Place
{
public:
    explicit Place(bool managed)
    {
        if (managed) {
            tree_ = std::make_unique<ManagedTree>(OneFather(2));
            father_ = manager_.GetRootNode();
        } else {
            father_ = manager_.CreateInnerNode();
            manager_.DeleteNode(father_);
        }
    }
    void Build(const std::vector<int>& shape)
    {
        top_ = BuildNodes(shape).front();
        const auto lock = lockFather();
        manager_.AppendChild(father_, top_);
    }
    void Remove()
    {
        const auto lock = lockFather();
        CbSingleton<ZeCTransformationTreeUtility>::GetInstance().RemoveSubtree(top_, false);
        if (top_->GetFather() || ZeCTransformationNodeManager::IsNodeInDataManager(top_)) {
            throw std::logic_error("the subtree was not removed");
        }
        top_ = nullptr;
    }

private:
    [[nodiscard]] ZeCTransformationNodeManager::WriteHandle lockFather() const
    {
        auto lock = manager_.GetWriteHandle(father_);
        if (!lock.IsEmpty()) manager_.Lock();
        return lock;
    }

    ZeCTransformationNodeManager& manager_ =
        CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    std::unique_ptr<ManagedTree> tree_;
    ZeCTransformationNodeManager::Inner father_;
    ZeCTransformationNodeManager::Node top_;
};

RatioBenchmark removeBenchmark(const char* work, std::size_t size, bool managed,
                               std::vector<int> (*shapeOf)(std::size_t))
{
    return {work, size, size, "counted pointers and a map by hand", 0, [=] {
                const auto shape = std::make_shared<std::vector<int>>(shapeOf(size));
                const auto place = std::make_shared<Place>(managed);
                const auto plain = std::make_shared<PlainPlace>();
                return RatioBenchmark::Pair{[=] { place->Remove(); }, [=] { plain->Remove(); },
                                            [=] { place->Build(*shape); },
                                            [=] { plain->Build(*shape); }};
            }};
}

std::vector<int> fatherOf(std::size_t leaves) { return OneFather(leaves + 1); }

} // namespace

std::vector<RatioBenchmark> RemoveBenchmarks()
{
    std::vector<RatioBenchmark> benchmarks;
    for (const std::size_t size : {1000, 100000}) {
        benchmarks.push_back(removeBenchmark("remove/chain", size, true, Chain));
        benchmarks.push_back(removeBenchmark("remove/chain/outside", size, false, Chain));
    }
    for (const std::size_t leaves : {1000, 10000}) {
        benchmarks.push_back(removeBenchmark("remove/wide", leaves, true, fatherOf));
        benchmarks.push_back(removeBenchmark("remove/wide/outside", leaves, false, fatherOf));
    }
    return benchmarks;
}
