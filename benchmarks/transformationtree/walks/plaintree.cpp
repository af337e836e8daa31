#include "benchmarks/transformationtree/walks/plaintree.h"

#include <cmath>
#include <numeric>

std::vector<int> FanOut8(std::size_t size)
{
    // Numbered level by level first, (i - 1) / 8 being the father, then renumbered in pre-order.
    std::vector<int> fathers(size, -1);
    struct Visit
    {
        std::size_t levelIndex;
        int father;
    };
    std::vector<Visit> open{{0, -1}};
    for (int next = 0; !open.empty(); ++next) {
        const Visit visit = open.back();
        open.pop_back();
        fathers[static_cast<std::size_t>(next)] = visit.father;
        for (std::size_t child = 8 * visit.levelIndex + 8; child > 8 * visit.levelIndex; --child) {
            if (child < size) open.push_back({child, next});
        }
    }
    return fathers;
}

std::vector<int> OneFather(std::size_t size)
{
    std::vector<int> fathers(size, 0);
    fathers.front() = -1;
    return fathers;
}

std::vector<int> Chain(std::size_t size)
{
    std::vector<int> fathers(size);
    std::iota(fathers.begin(), fathers.end(), -1);
    return fathers;
}

CbMatrix4Rd SomeTrafo(std::size_t index)
{
    const double angle = 0.05 * std::sin(static_cast<double>(index));
    CbMatrix4Rd trafo;
    trafo[0][0] = trafo[1][1] = std::cos(angle);
    trafo[0][1] = std::sin(angle);
    trafo[1][0] = -trafo[0][1];
    for (std::size_t j = 0; j < 3; ++j) trafo[3][j] = std::cos(static_cast<double>(3 * index + j));
    return trafo;
}

std::unique_ptr<PlainNode> BuildPlainTree(const std::vector<int>& fathers)
{
    std::vector<PlainNode*> nodes;
    std::unique_ptr<PlainNode> root;
    for (std::size_t i = 0; i < fathers.size(); ++i) {
        auto node = std::make_unique<PlainNode>();
        node->trafo = SomeTrafo(i);
        nodes.push_back(node.get());
        if (fathers[i] < 0) {
            root = std::move(node);
        } else {
            node->father = nodes[static_cast<std::size_t>(fathers[i])];
            node->father->children.push_back(std::move(node));
        }
    }
    return root;
}
