// What edits of deep trees in the data manager cost: as much for each node of a large tree as of a
// small one, whatever is locked.

#include "tests/support/managerfixture.h"
#include "tests/support/rounds.h"
#include "transformationtree/tree/zectransformationtreeutility.h"

#include <algorithm>
#include <ctime>
#include <functional>

namespace
{

class DeepManagedTrees : public NodeManagerTest
{
protected:
    using Utility = ZeCTransformationTreeUtility;

    // How much longer an edit of eight times as many nodes may take. Linear ones take 8 to 15 times
    // as long, since caches help small trees, and quadratic ones 64 times.
    static constexpr double c_limit = 32;

    // root(a chain of inner nodes with a leaf each, a place beside it)
    void build(std::size_t size)
    {
        const Inner root = manager().CreateRootNode();
        beside = manager().CreateInnerNode();
        top = manager().CreateInnerNode();
        manager().AppendChild(root, beside);
        manager().AppendChild(root, top);
        leaves.clear();
        inner.clear();
        bottom = top;
        while (2 * inner.size() < size) {
            leaves.push_back(manager().CreateLeafNode(nullptr));
            manager().AppendChild(bottom, leaves.back());
            inner.push_back(manager().CreateInnerNode());
            manager().AppendChild(bottom, inner.back());
            bottom = CbStaticPointerCast<ZeCTransformationNodeInner>(inner.back());
        }
    }
    double seconds(std::size_t size, const std::function<void()>& lock,
                   const std::function<void()>& edit)
    {
        build(size);
        lock();
        const std::clock_t start = std::clock();
        edit();
        const auto time = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        own.Release();
        others.Release();
        unsetRoot();
        for (const Node& node : {Node(top), Node(beside)}) utility.RemoveSubtree(node, false);
        for (auto* nodes : {&leaves, &inner}) {
            for (const Node& node : *nodes) manager().DeleteNode(node);
        }
        return time;
    }
    void expectLinear(const char* what, const std::function<void()>& lock,
                      const std::function<void()>& edit)
    {
        SCOPED_TRACE(what);
        constexpr std::size_t c_large = Rounds(1'000'000);
        double small = 1e9; // the better of two, since the first one warms up
        for (int i = 0; i < 2; ++i) small = std::min(small, seconds(c_large / 8, lock, edit));
        double large = seconds(c_large, lock, edit);
        // The machine may have been busy.
        for (int i = 0; i < 2 && large >= c_limit * small; ++i) {
            large = std::min(large, seconds(c_large, lock, edit));
        }
        EXPECT_LT(large, c_limit * small) << small << " and " << large << " s";
    }

    Utility& utility = CbSingleton<Utility>::GetInstance();
    Inner top, bottom, beside;
    std::vector<Node> leaves, inner;
    Manager::WriteHandle own;
    Manager::ReadHandle others;
};

TEST_F(DeepManagedTrees, AreEditedInLinearTime)
{
    const auto nothing = [] {};
    const auto lockRoot = [&] {
        own = manager().GetSingleWriteHandleLocked(manager().GetRootNode());
    };
    const auto lockBeside = [&] { own = manager().GetSingleWriteHandleLocked(beside); };
    const auto lockByOther = [&] {
        others = lockElsewhere([&] { return manager().GetSingleReadHandleLocked(beside); });
    };
    const auto remove = [&] { manager().RemoveChild(manager().GetRootNode(), top); };
    const auto moveAll = [&](const Inner& father) {
        manager().MoveNodes(father, leaves);
        EXPECT_EQ(leaves.front()->GetParent(), father);
    };
    expectLinear("remove, another thread holds a lock", lockByOther, remove);
    const auto gatherAndLock = [&] {
        manager().MoveNodes(bottom, leaves);
        lockRoot();
    };
    expectLinear("remove leaves one by one, far below a lock", gatherAndLock, [&] {
        while (bottom->BackChild()) manager().RemoveChild(bottom, bottom->BackChild());
    });
    expectLinear("move leaves, below a lock", lockRoot, [&] { moveAll(beside); });
    expectLinear("move leaves, another thread holds a lock", lockByOther, [&] { moveAll(top); });
    expectLinear("move leaves to a deep father", nothing, [&] { moveAll(bottom); });
    expectLinear("move inner nodes, below a lock", lockRoot,
                 [&] { manager().MoveNodes(beside, inner); });
    const auto moveUpwards = [&] {
        std::reverse(inner.begin(), inner.end());
        manager().MoveNodes(beside, inner);
    };
    expectLinear("move inner nodes, the deepest first, below a lock", lockBeside, moveUpwards);
    expectLinear("replace children, below a lock", lockRoot,
                 [&] { manager().ReplaceChildren(top, leaves); });
    expectLinear("collapse, below a lock", lockRoot, [&] { utility.CollapseAll(top, false); });
    const auto gather = [&] {
        manager().MoveNodes(bottom, {leaves.back()});
        leaves.pop_back();
        manager().MoveNodes(beside, leaves);
    };
    expectLinear("merge into a deep father", gather,
                 [&] { utility.MergeInnerNodes(beside, bottom, c_matIdentityD, false); });
}

} // namespace
