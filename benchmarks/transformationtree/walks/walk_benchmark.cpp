// Walks of a whole tree with accumulated transformations.

#include "benchmarks/support/ratiobenchmark.h"
#include "benchmarks/transformationtree/manager/managedtree.h"
#include "benchmarks/transformationtree/walks/plaintree.h"

#include <benchmark/benchmark.h>

namespace
{

// What is done at each node. The compiler has to have the whole matrix ready, as it has for a
// visitor it knows nothing of.
double translationSum(const CbMatrix4Rd& trafo)
{
    benchmark::DoNotOptimize(&trafo);
    benchmark::ClobberMemory();
    return trafo[3][0] + trafo[3][1] + trafo[3][2];
}

// The reference: recursion with an accumulated matrix on the stack.
void walkPlain(const PlainNode& node, const CbMatrix4Rd& accumulated, double& sum)
{
    sum += translationSum(accumulated);
    for (const auto& child : node.children) {
        CbMatrix4Rd trafo;
        ComposeInline(child->trafo, accumulated, trafo);
        walkPlain(*child, trafo, sum);
    }
}

template<class Walk>
RatioBenchmark walkBenchmark(const char* name, std::size_t size, double goal, Walk walk)
{
    return {name, size, size, "recursion with an accumulated matrix", goal, [=] {
                const auto shape = FanOut8(size);
                const std::shared_ptr<PlainNode> plain = BuildPlainTree(shape);
                const auto root = BuildTree(shape);
                return RatioBenchmark::Pair{[=] {
                                                double sum = 0;
                                                walk(*root, sum);
                                                benchmark::DoNotOptimize(sum);
                                            },
                                            [=] {
                                                double sum = 0;
                                                walkPlain(*plain, c_matIdentityD, sum);
                                                benchmark::DoNotOptimize(sum);
                                            }};
            }};
}

} // namespace

std::vector<RatioBenchmark> WalkBenchmarks()
{
    std::vector<RatioBenchmark> benchmarks;
    for (const std::size_t size : {1000, 100000, 1000000}) {
        benchmarks.push_back(walkBenchmark("walk/borrowed", size, 1.25,
                                           [](const ZeCTransformationNodeInner& root, double& sum) {
                                               for (const auto& [node, trafo] : root.Nodes())
                                                   sum += translationSum(trafo);
                                           }));
        benchmarks.push_back(walkBenchmark("walk/value", size, 2.5,
                                           [](const ZeCTransformationNodeInner& root, double& sum) {
                                               for (auto it = root.BeginNode(); it; ++it)
                                                   sum += translationSum((*it).GetTrafo());
                                           }));
    }
    return benchmarks;
}
