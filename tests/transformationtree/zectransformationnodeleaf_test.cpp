#include "tests/support/scenario.h"
#include "tests/transformationtree/treematrices.h"
#include "transformationtree/zectransformationnodeleaf.h"

#include <gtest/gtest.h>

namespace
{

using EAttributes = ZeCTransformationNode::EAttributesToCopy;

TEST(ALeaf, IsVisibleFromTheStartWhereItIsMadeForAModel)
{
    const Model model = CbMake<ZeCModelQMT>();
    const Leaf leaf = CbMake<ZeCTransformationNodeLeaf>(model);
    EXPECT_TRUE(leaf->IsVisible());
    EXPECT_EQ(leaf->GetModel(), model);
    EXPECT_FALSE(leaf->IsNewEntryScan());
    EXPECT_FALSE(CbMake<ZeCTransformationNodeLeaf>()->IsVisible());
    EXPECT_FALSE(CbMake<ZeCTransformationNodeLeaf>()->EmptyLeafs());
}

TEST(TheModelRevisionOfALeaf, IsItsOwnFirstRevision)
{
    const Leaf leaf = CbMake<ZeCTransformationNodeLeaf>();
    const auto before = leaf->GetModelRevision();
    EXPECT_EQ(before, leaf->GetNodeRevision(1));
    leaf->NewNodeRevision(2);
    EXPECT_EQ(leaf->GetModelRevision(), before);
    leaf->NewNodeRevision(1);
    EXPECT_GT(leaf->GetModelRevision(), before);

    leaf->SetNodeRevision(11, 1);
    leaf->SetNodeRevision(22, 2);
    long long out[2] = {99, 99};
    leaf->UpdateNodeRevisionSubtree(out);
    EXPECT_EQ(out[0], 11);
    EXPECT_EQ(out[1], 22);
    EXPECT_EQ(leaf->GetNodeRevisionSubtree(3), 22);
    EXPECT_EQ(leaf->GetNodeRevisionSubtree(0), -1);
}

TEST(TheBoundingBoxOfALeaf, StaysInItsOwnFrame)
{
    const auto surfels = CbMake<ZeCSurfelCollectionQMT>(
        2U, true, ZeCSurfelContainer::ESurfelAttributeSet::Complete, nullptr);
    surfels->GetPositionAccessor()[1] = {1, 2, 3};
    const Leaf leaf = CbMake<ZeCTransformationNodeLeaf>(Model(CbMake<ZeCModelQMT>(surfels, false)));
    leaf->SetRelativeTrafo(Shift(9, 9, 9));
    for (const auto& trafo : {c_matIdentityD, Shift(4, 4, 4)}) {
        EXPECT_EQ(leaf->GetBoundingBox(trafo), CyBoundingBox3D({0, 0, 0}, {1, 2, 3}));
    }
}

TEST(ALeafThatAssumesAttributes, TakesPropertiesOfLeavesOnly)
{
    const Scenario tree("root(a*, b, x*(c))");
    const Leaf leaf = tree.GetLeaf("b");
    const Leaf other = tree.GetLeaf("a");
    other->SetIsNewEntryScan(true);
    for (const char* name : {"a", "x"}) tree[name]->SetRelativeTrafo(Shift(1, 2, -0.0));
    leaf->SetVisible(false);
    const auto revision = leaf->GetNodeRevision(3);

    leaf->AssumeAttributes(tree["x"], EAttributes::PropertiesAndModel);
    leaf->AssumeAttributes(nullptr, EAttributes::Properties);
    EXPECT_THAT(leaf->GetRelativeTrafo(), HasBitsOf(c_matIdentityD));
    EXPECT_EQ(leaf->GetDescription(), CB_TEXT("b"));

    leaf->AssumeAttributesIncrementVersion(other);
    EXPECT_THAT(leaf->GetRelativeTrafo(), HasBitsOf(Shift(1, 2, -0.0)));
    EXPECT_TRUE(leaf->IsVisible());
    EXPECT_FALSE(leaf->IsNewEntryScan());
    EXPECT_FALSE(leaf->GetModel());
    EXPECT_EQ(leaf->GetNodeRevision(3), revision);
}

} // namespace
