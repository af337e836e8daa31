#include "tests/support/scenario.h"
#include "tests/support/treematrices.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

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
    TestAccess::Children(*x).Clear();
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

TEST(ANodeWithTransformation, IsPlacedRelativeToTheTraversalRoot)
{
    std::mt19937 random(5);
    const Scenario tree("top(root(x(y(a))))");
    for (const char* name : {"top", "root", "x", "y", "a"}) {
        tree[name]->SetRelativeTrafo(RandomPose(random));
    }
    const Inner root = tree.GetInner("root");
    for (const Node& node : {tree["a"], tree["x"]}) {
        const auto value = *root->Find(node);
        const CbMatrix4Rd before = value.GetTrafo();
        const auto modelRevision = node->GetNodeRevision(1);
        const auto trafoRevision = node->GetNodeRevision(2);
        for (int i = 0; i < 2; ++i) { // a value may be used again
            const CbMatrix4Rd wanted = RandomPose(random);
            value.SetTrafoToTraversalRoot(wanted);
            EXPECT_THAT(value.GetTrafo(), HasBitsOf(before));
            EXPECT_THAT((*root->Find(node)).GetTrafo(), IsNear(wanted, 1e-12));
        }
        EXPECT_EQ(node->GetNodeRevision(1), modelRevision);
        EXPECT_GT(node->GetNodeRevision(2), trafoRevision);
        EXPECT_EQ(value.GetLeafNode(), CbDynamicPointerCast<ZeCTransformationNodeLeaf>(node));
        EXPECT_EQ(value.GetInnerNode(), InnerOf(node));
        // It is compared by its node alone.
        EXPECT_TRUE(value == ZeCTransformationNodeWithTrafo(node, Shift(2, 0, 0), Shift(3, 0, 0)));
        EXPECT_FALSE(value == ZeCTransformationNodeWithTrafo(tree["y"], before, c_matIdentityD));
    }
}

} // namespace
