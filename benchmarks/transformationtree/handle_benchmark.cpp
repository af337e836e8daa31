// Taking, locking and releasing a read handle.

#include "benchmarks/support/ratiobenchmark.h"
#include "benchmarks/transformationtree/managedtree.h"
#include "benchmarks/transformationtree/plaintree.h"

#include <benchmark/benchmark.h>
#include <random>
#include <shared_mutex>
#include <stdexcept>

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

struct alignas(64) PaddedMutex
{
    std::shared_mutex mutex;
};

// Random nodes of depth 4, each with the four nodes of its path below the root.
std::vector<std::vector<int>> randomPaths(const std::vector<int>& fathers)
{
    std::vector<std::vector<int>> paths;
    std::mt19937 random(1);
    while (paths.size() < c_handles) {
        std::vector<int> path;
        for (int node = static_cast<int>(random() % fathers.size()); node > 0;
             node = fathers[static_cast<std::size_t>(node)]) {
            path.push_back(node);
        }
        if (path.size() == c_depth) paths.push_back(std::move(path));
    }
    return paths;
}

RatioBenchmark handleBenchmark(std::size_t size)
{
    return {"handle/depth4", size, c_handles, "four std::shared_mutex on the path", 3.0, [=] {
                const auto shape = depthFour(size);
                const auto tree = std::make_shared<ManagedTree>(shape);
                const auto mutexes = std::make_shared<std::vector<PaddedMutex>>(shape.size());
                const auto paths =
                    std::make_shared<std::vector<std::vector<int>>>(randomPaths(shape));
                const auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
                return RatioBenchmark::Pair{
                    [=, &manager] {
                        for (const auto& path : *paths) {
                            const auto& node = tree->GetNodes()[static_cast<std::size_t>(path[0])];
                            const auto handle = manager.GetReadHandle(node);
                            if (!manager.TryLock()) throw std::logic_error("somebody else locks");
                        }
                    },
                    [=] {
                        auto& locks = *mutexes;
                        for (const auto& path : *paths) {
                            for (auto it = path.rbegin(); it != path.rend(); ++it) {
                                locks[static_cast<std::size_t>(*it)].mutex.lock_shared();
                            }
                            for (const int node : path) {
                                locks[static_cast<std::size_t>(node)].mutex.unlock_shared();
                            }
                        }
                    }};
            }};
}

} // namespace

std::vector<RatioBenchmark> HandleBenchmarks()
{
    return {handleBenchmark(1000), handleBenchmark(1000000)};
}
