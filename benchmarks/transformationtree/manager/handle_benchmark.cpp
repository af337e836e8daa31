// Taking, locking and releasing a read handle.

#include "benchmarks/support/ratiobenchmark.h"
#include "benchmarks/transformationtree/manager/managedtree.h"
#include "benchmarks/transformationtree/walks/plaintree.h"

#include <array>
#include <benchmark/benchmark.h>
#include <random>
#include <shared_mutex>
#include <stdexcept>
#include <utility>

namespace
{

constexpr int c_depth = 4;
constexpr std::size_t c_handles = 20000;

// A fan-out that reaches depth 4 with about the given number of nodes, in pre-order.
std::vector<int> depthFour(std::size_t size)
{
    std::size_t fanOut = 2;
    const auto nodes = [](std::size_t f) { return 1 + f + f * f + f * f * f + f * f * f * f; };
    while (nodes(fanOut + 1) <= size) ++fanOut;
    std::vector<int> fathers{-1};
    const auto addBelow = [&](auto& self, int father, int depth) -> void {
        for (std::size_t i = 0; i < fanOut; ++i) {
            fathers.push_back(father);
            const int node = static_cast<int>(fathers.size()) - 1;
            if (depth < c_depth) self(self, node, depth + 1);
        }
    };
    addBelow(addBelow, 0, 1);
    return fathers;
}

// The reference: each node of a hand-written tree has its own mutex.
struct LockableNode
{
    PlainNode node;
    LockableNode* father = nullptr;
    std::shared_mutex mutex;
};

std::vector<std::unique_ptr<LockableNode>> lockableTree(const std::vector<int>& fathers)
{
    std::vector<std::unique_ptr<LockableNode>> nodes;
    for (const int father : fathers) {
        nodes.push_back(std::make_unique<LockableNode>());
        if (father >= 0) nodes.back()->father = nodes[static_cast<std::size_t>(father)].get();
    }
    return nodes;
}

// Locks the path from just below the root down to a node, and unlocks it again.
void lockPath(LockableNode& bottom)
{
    std::array<LockableNode*, c_depth> path{};
    LockableNode* node = &bottom;
    for (LockableNode*& step : path) step = std::exchange(node, node->father);
    for (auto step = path.rbegin(); step != path.rend(); ++step) (*step)->mutex.lock_shared();
    for (LockableNode* const step : path) step->mutex.unlock_shared();
}

std::vector<std::size_t> randomNodesOfDepthFour(const std::vector<int>& fathers)
{
    std::vector<std::size_t> nodes;
    std::mt19937 random(1);
    while (nodes.size() < c_handles) {
        const std::size_t candidate = random() % fathers.size();
        int depth = 0;
        for (int node = static_cast<int>(candidate); node > 0; ++depth) {
            node = fathers[static_cast<std::size_t>(node)];
        }
        if (depth == c_depth) nodes.push_back(candidate);
    }
    return nodes;
}

RatioBenchmark handleBenchmark(std::size_t size)
{
    return {"handle/depth4", size, c_handles, "four std::shared_mutex on the path", 3.0, [=] {
                const auto shape = depthFour(size);
                const auto nodes =
                    std::make_shared<std::vector<std::size_t>>(randomNodesOfDepthFour(shape));
                const auto tree = std::make_shared<ManagedTree>(shape);
                const auto plain = std::make_shared<std::vector<std::unique_ptr<LockableNode>>>(
                    lockableTree(shape));
                const auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
                return RatioBenchmark::Pair{
                    [=, &manager] {
                        for (const std::size_t node : *nodes) {
                            const auto handle = manager.GetReadHandle(tree->GetNodes()[node]);
                            if (!manager.TryLock()) throw std::logic_error("somebody else locks");
                        }
                    },
                    [=] {
                        for (const std::size_t node : *nodes) lockPath(*(*plain)[node]);
                    }};
            }};
}

} // namespace

std::vector<RatioBenchmark> HandleBenchmarks()
{
    return {handleBenchmark(1000), handleBenchmark(1000000)};
}
