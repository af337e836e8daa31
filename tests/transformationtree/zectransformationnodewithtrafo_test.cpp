#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/support/scenario.h"
#include "tests/transformationtree/treematrices.h"
#include "transformationtree/zectransformationnodeiterators.h"
#include "transformationtree/zectransformationnodewithtrafo.h"

#include <gtest/gtest.h>

namespace
{

TEST(ANodeWithTransformation, IsPlacedRelativeToTheTraversalRoot)
{
    std::mt19937 random(5);
    const Scenario tree("top(root(x(y(a))))");
    for (const char* name : {"top", "root", "x", "y", "a"}) {
        tree[name]->SetRelativeTrafo(RandomPose(random));
    }
    const Inner root = tree.GetInner("root");
    for (const char* name : {"a", "x"}) {
        SCOPED_TRACE(name);
        const Node node = tree[name];
        const ZeCTransformationNodeWithTrafo value = *root->Find(node);
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
    }
}

TEST(ANodeWithTransformation, IsComparedByItsNodeAndKnowsItsKind)
{
    const Scenario tree("root(a, b)");
    using Value = ZeCTransformationNodeWithTrafo;
    const Value a(tree["a"], Shift(1, 0, 0), c_matIdentityD);
    const Value sameNode(tree["a"], Shift(2, 0, 0), Shift(3, 0, 0));
    EXPECT_TRUE(a == sameNode);
    EXPECT_FALSE(a == Value(tree["b"], Shift(1, 0, 0), c_matIdentityD));
    EXPECT_EQ(a.GetLeafNode(), tree["a"]);
    EXPECT_FALSE(a.GetInnerNode());
    const Value root(tree["root"], c_matIdentityD, c_matIdentityD);
    EXPECT_EQ(root.GetInnerNode(), tree["root"]);
    EXPECT_FALSE(root.GetLeafNode());
}

TEST(ANodeWithTransformation, IsNotMadeBelowASingularFather)
{
    const Scenario tree("a");
    CbMatrix4Rd flat;
    flat[0][0] = 0.0;
    const auto make = [&](const CbMatrix4Rd& fatherTrafo) {
        return ZeCTransformationNodeWithTrafo(tree["a"], flat, fatherTrafo);
    };
    try {
        (void)make(flat);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const CyExceptionNotInvertible& e) {
        EXPECT_EQ(e.GetFile(), "cbmatrixbasematrixgeomdef");
        EXPECT_EQ(e.GetLine(), 996U);
    }
    flat[3][1] = std::numeric_limits<double>::quiet_NaN();
    CbMatrix4Rd withNaN;
    withNaN[0][0] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_NO_THROW((void)make(withNaN));
}

} // namespace
