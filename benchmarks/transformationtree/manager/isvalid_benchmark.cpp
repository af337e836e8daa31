// The check of a whole tree under one read lock on its root.

#include "benchmarks/support/ratiobenchmark.h"
#include "benchmarks/transformationtree/manager/managedtree.h"
#include "benchmarks/transformationtree/walks/plaintree.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <random>
#include <stdexcept>

namespace
{

// The reference. Ids scatter the nodes that a check comes across just as a shuffle does.
std::size_t hashIds(const std::vector<const ZeCTransformationNode*>& nodes)
{
    std::size_t hash = 0;
    for (const ZeCTransformationNode* const node : nodes) {
        hash ^= CbHashKey<CyUniqueID>{}(node->GetID());
    }
    return hash;
}

std::vector<const ZeCTransformationNode*> shuffled(const ManagedTree& tree)
{
    std::vector<const ZeCTransformationNode*> nodes;
    for (const auto& node : tree.GetNodes()) nodes.push_back(node.Get());
    std::shuffle(nodes.begin(), nodes.end(), std::mt19937(1));
    return nodes;
}

RatioBenchmark isValidBenchmark(const char* work, std::size_t size,
                                std::vector<int> (*shape)(std::size_t))
{
    return {work, size, size, "reading the ids of the nodes in shuffled order", 0, [=] {
                const auto tree = std::make_shared<ManagedTree>(shape(size));
                const auto nodes =
                    std::make_shared<std::vector<const ZeCTransformationNode*>>(shuffled(*tree));
                const auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
                return RatioBenchmark::Pair{[=, &manager] {
                                                // Locked anew each time: what the last check found
                                                // out about the locks is forgotten.
                                                const auto lock = manager.GetSingleReadHandleLocked(
                                                    tree->GetNodes().front());
                                                if (!manager.IsValid())
                                                    throw std::logic_error("the tree is not valid");
                                            },
                                            [=] { benchmark::DoNotOptimize(hashIds(*nodes)); }};
            }};
}

} // namespace

std::vector<RatioBenchmark> IsValidBenchmarks()
{
    std::vector<RatioBenchmark> benchmarks;
    for (const std::size_t size : {10000, 1000000}) {
        benchmarks.push_back(isValidBenchmark("isvalid/balanced", size, FanOut8));
        benchmarks.push_back(isValidBenchmark("isvalid/wide", size, OneFather));
        benchmarks.push_back(isValidBenchmark("isvalid/chain", size, Chain));
    }
    return benchmarks;
}
