#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/support/scenario.h"
#include "tests/transformationtree/treematrices.h"
#include "transformationtree/zectransformationnodeiterators.h"

#include <barrier>
#include <gtest/gtest.h>
#include <thread>

namespace
{

using NodeIterator = ZeCTransformationNode::ZeNNodeIterator;
using LeafIterator = ZeCTransformationNode::ZeNLeafNodeIterator;
using CachedLeafIterator = ZeCTransformationNode::ZeNCachedLeafNodeIterator;
using InnerIterator = ZeCTransformationNode::ZeNInnerNodeIterator;

std::string nameOf(const NodeIterator& it) { return it.Borrow().node.GetDescription().ToUtf8(); }

template<class Range>
std::string namesIn(const Range& range)
{
    std::string names;
    for (const auto& [node, trafo] : range) names += node.GetDescription().ToUtf8() + " ";
    if (!names.empty()) names.pop_back();
    return names;
}

TEST(AWalkOfCachedLeaves, StopsAtModelsAndDoesNotGoBelow)
{
    const std::pair<const char*, const char*> cases[] = {
        {"root()", ""},
        {"leaf", "leaf"},
        {"root*(a, b)", "a b"}, // the traversal root's own model plays no part
        {"root(x*(a, b), c)", "x c"},
        {"root(x(y*(a), z(), b), null, w())", "y b"},
    };
    for (const auto& [text, nodes] : cases) {
        const Scenario tree(text);
        EXPECT_EQ(namesIn(tree.GetRoot()->CachedLeaves()), nodes) << text;
    }
}

TEST(ADefaultIterator, IsTrueWhereItsKindCanStandOnARoot)
{
    EXPECT_TRUE(NodeIterator());
    EXPECT_TRUE(InnerIterator());
    EXPECT_FALSE(LeafIterator());
    EXPECT_FALSE(CachedLeafIterator());
}

TEST(Iterators, AreEqualOnlyAtThePositionOfOneWalkWithEqualTransformations)
{
    const Scenario tree("root(x(a), y(b), c)");
    const Inner root = tree.GetRootInner();
    const Inner x = tree.GetInner("x");
    const Inner y = tree.GetInner("y");

    EXPECT_FALSE(x->BeginNode() == y->BeginNode()) << "two roots";
    EXPECT_FALSE(x->EndNode() == y->EndNode()) << "two roots";
    EXPECT_FALSE(x->EndNode().HasSameTraversalRoot(y->EndNode()));
    EXPECT_TRUE(x->EndNode().HasSameTraversalRoot(x->BeginLeaf()));
    EXPECT_FALSE(tree["a"]->BeginNode().HasSameTraversalRoot(tree["b"]->BeginNode()));
    const ZeCTransformationNode::ZeNNodeIterator none{};
    EXPECT_FALSE(none.HasSameTraversalRoot(tree["a"]->BeginNode()));
    EXPECT_FALSE(tree["a"]->BeginNode().HasSameTraversalRoot(none));
    // The side that began at a leaf decides, whichever it is.
    EXPECT_FALSE(tree["a"]->BeginNode() == NodeIterator());
    EXPECT_FALSE(NodeIterator() == tree["a"]->BeginNode());
    EXPECT_FALSE(x->Find(tree["a"]) == root->Find(tree["a"])) << "one node, two walks";
    EXPECT_FALSE(root->Find(tree["x"]) == root->Find(tree["y"])) << "two places";

    const NodeIterator before = root->Find(tree["a"]);
    x->SetRelativeTrafo(Shift(0, 0, 1e-300));
    EXPECT_FALSE(before == root->Find(tree["a"])) << "another transformation of the father";
    x->SetRelativeTrafo(Shift(-0.0, 0, 0));
    EXPECT_TRUE(before == root->Find(tree["a"])) << "zeros compare equal";
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

TEST(AWalk, KeepsTheTransformationsThatItHasAlreadyAccumulated)
{
    const Scenario tree("root(x(a, b), c)");
    tree["x"]->SetRelativeTrafo(Shift(1, 0, 0));
    NodeIterator it = tree.GetRootInner()->Find(tree["a"]);
    tree["x"]->SetRelativeTrafo(Shift(5, 0, 0));
    tree["a"]->SetRelativeTrafo(Shift(0, 5, 0));
    EXPECT_EQ((*it).GetTrafo(), Shift(1, 0, 0));
    ++it; // composed from the father as it was pushed
    EXPECT_EQ((*it).GetTrafo(), Shift(1, 0, 0));
    --it; // pushed anew, below the same father
    EXPECT_EQ((*it).GetTrafo(), Shift(1, 5, 0));
}

TEST(AWalkBelowASingularTransformation, LendsNodesButDeliversNoValues)
{
    const Scenario tree("root(x(a, y(b)), c)");
    CbMatrix4Rd flat;
    flat[2][2] = 0.0;
    tree["x"]->SetRelativeTrafo(flat);
    tree["b"]->SetRelativeTrafo(Shift(1, 2, 3));
    const auto below = tree.GetRootInner()->Find(tree["b"]);
    for (int look = 0; look < 2; ++look) {
        try {
            (void)*below;
            ADD_FAILURE() << "nothing was thrown";
        } catch (const CyExceptionNotInvertible& e) {
            EXPECT_EQ(e.GetFile(), "cbmatrixbasematrixgeomdef");
            EXPECT_EQ(e.GetLine(), 996U);
        }
    }
    EXPECT_EQ(below.Borrow().trafo, Compose(Shift(1, 2, 3), flat));
    EXPECT_EQ((*tree.GetInner("x")->Find(tree["b"])).GetTrafo(), Shift(1, 2, 3))
        << "the traversal root's own transformation plays no part";
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
