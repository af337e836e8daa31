#include "tests/support/scenario.h"
#include "transformationtree/zectransformationnodeiterators.h"

#include <barrier>
#include <gtest/gtest.h>
#include <thread>

namespace
{

using NodeIterator = ZeCTransformationNode::ZeNNodeIterator;
using LeafIterator = ZeCTransformationNode::ZeNLeafNodeIterator;

std::string nameOf(const NodeIterator& it) { return it.Borrow().node.GetDescription().ToUtf8(); }

template<class Range>
std::string namesIn(const Range& range)
{
    std::string names;
    for (const auto& [node, trafo] : range) names += node.GetDescription().ToUtf8() + " ";
    if (!names.empty()) names.pop_back();
    return names;
}

TEST(Find, IsTheEndForNodesThatTheWalkDoesNotReach)
{
    const Scenario tree("root(x(a), y(b))");
    const Inner x = tree.GetInner("x");
    EXPECT_TRUE(x->Find(Node()) == x->EndNode());
    EXPECT_TRUE(x->Find(Leaf()) == x->EndLeaf());
    EXPECT_TRUE(x->Find(tree["root"]) == x->EndNode()) << "above";
    EXPECT_TRUE(x->Find(tree["b"]) == x->EndNode()) << "beside";
    EXPECT_TRUE(x->Find(tree.GetLeaf("b")) == x->EndLeaf()) << "beside";

    // A father that is named as such but does not hold the node.
    TestAccess::Children(*x).clear();
    EXPECT_TRUE(x->Find(tree["a"]) == x->EndNode());
    EXPECT_TRUE(tree.GetRootInner()->Find(tree["a"]) == tree.GetRoot()->EndNode());
}

TEST(AnIterator, KeepsItsTraversalRootAlive)
{
    Scenario tree("root(x(a), b)");
    NodeIterator it = tree.GetRoot()->BeginNode();
    auto leaves = tree.GetRoot()->Leaves();
    Node alone = tree["b"];
    LeafIterator leaf = alone->BeginLeaf();
    tree.Forget();
    EXPECT_EQ(nameOf(++it), "x");
    EXPECT_EQ(namesIn(leaves), "a b");
    alone = nullptr;
    leaves = Scenario("other(c)").GetRoot()->Leaves();
    it = NodeIterator(); // the last one of the first tree but for the leaf
    EXPECT_EQ(nameOf(leaf), "b");
    EXPECT_EQ(namesIn(leaves), "c");
    EXPECT_FALSE((*leaf).GetNode()->GetFather());
}

TEST(OneIteratorThreads, MayBeReadByMany)
{
    const Scenario tree("root(x(y(a, b), c), d)");
    for (int round = 0; round < 200; ++round) {
        const NodeIterator shared = tree.GetRootInner()->Find(tree["a"]);
        std::barrier start(4);
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                start.arrive_and_wait();
                EXPECT_EQ((*shared).GetNode(), tree["a"]);
                const NodeIterator own(shared);
                EXPECT_TRUE(own == shared);
                EXPECT_EQ((*own).GetNode(), tree["a"]);
                EXPECT_EQ(tree.GetRoot()->GetNrLeafNodes(), 4U);
            });
        }
    }
}

} // namespace
