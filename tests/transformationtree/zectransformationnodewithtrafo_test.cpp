#include "tests/support/scenario.h"
#include "tests/transformationtree/treematrices.h"
#include "transformationtree/zectransformationnodeiterators.h"
#include "transformationtree/zectransformationnodewithtrafo.h"

#include <gtest/gtest.h>

namespace
{

using Value = ZeCTransformationNodeWithTrafo;

TEST(ANodeWithTransformation, IsPlacedRelativeToTheTraversalRoot)
{
    std::mt19937 random(5);
    const Scenario tree("top(root(x(y(a))))");
    for (const char* name : {"top", "root", "x", "y", "a"}) {
        tree[name]->SetRelativeTrafo(RandomPose(random));
    }
    const Inner root = tree.GetInner("root");
    for (const Node& node : {tree["a"], tree["x"]}) {
        const Value value = *root->Find(node);
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
        EXPECT_EQ(value.GetInnerNode(), CbDynamicPointerCast<ZeCTransformationNodeInner>(node));
        // It is compared by its node alone.
        EXPECT_TRUE(value == Value(node, Shift(2, 0, 0), Shift(3, 0, 0)));
        EXPECT_FALSE(value == Value(tree["y"], before, c_matIdentityD));
    }
}

} // namespace
