#pragma once

#include "platform/math3d/cbmatrix4.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// The father of each node of a tree with fan-out 8, in pre-order; -1 for the root.
[[nodiscard]] std::vector<int> FanOut8(std::size_t size);
/// The same of a tree whose root has all others as children.
[[nodiscard]] std::vector<int> OneFather(std::size_t size);
/// The same of a tree in which each node has one child.
[[nodiscard]] std::vector<int> Chain(std::size_t size);

/// A small rotation with a shift, different for each index.
[[nodiscard]] CbMatrix4Rd SomeTrafo(std::size_t index);

/// What a hand-written tree would hold for each node: all that ours does but for locks, weak links
/// and the mirror in the data manager.
struct PlainNode
{
    std::atomic<int> count{1};
    bool visible = true;
    PlainNode* father = nullptr;
    std::shared_ptr<const void> model;
    std::vector<std::shared_ptr<void>> attributes;
    std::vector<std::unique_ptr<PlainNode>> children;
    std::array<std::uint64_t, 2> id{};
    std::array<std::int64_t, 2> revisions{};
    CbMatrix4Rd trafo;
    std::string description;
};

/// The plain tree of a shape, nodes allocated in pre-order.
[[nodiscard]] std::unique_ptr<PlainNode> BuildPlainTree(const std::vector<int>& fathers);

/// The product of two transformations, first and then second, written out in place.
inline void ComposeInline(const CbMatrix4Rd& first, const CbMatrix4Rd& second, CbMatrix4Rd& result)
{
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            result[i][j] = first[i][0] * second[0][j] + first[i][1] * second[1][j] +
                           first[i][2] * second[2][j] + first[i][3] * second[3][j];
        }
    }
}
