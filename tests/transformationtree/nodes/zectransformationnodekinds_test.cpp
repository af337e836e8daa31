#include "tests/support/scenario.h"
#include "tests/support/treematrices.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"
#include "transformationtree/nodes/zectransformationnodeleaf.h"

#include <gtest/gtest.h>

namespace
{

using EAttributes = ZeCTransformationNode::EAttributesToCopy;

TEST(AssumingAttributes, TakesTheModelOnlyFromANodeWithAsManyChildren)
{
    struct Case
    {
        const char* other;
        EAttributes what;
        bool takesProperties;
        bool takesModel;
    };
    constexpr auto c_properties = EAttributes::Properties;
    constexpr auto c_model = EAttributes::PropertiesAndModel;
    const Case cases[] = {
        {"other*(x, y)", c_model, true, true},
        {"other*(x, y)", c_properties, true, false},
        {"other*(x, y)", static_cast<EAttributes>(3), true, false}, // compared as a whole
        {"other*(x)", c_model, true, false},
        {"other*", c_model, false, false}, // a leaf
        {"null", c_model, false, false},
    };
    for (const auto& [text, what, takesProperties, takesModel] : cases) {
        SCOPED_TRACE(testing::Message() << text << ", " << static_cast<unsigned>(what));
        const Scenario tree("root*(a, b)");
        const Scenario source(text);
        const Inner root = tree.GetRootInner();
        const Node other = source.GetRoot();
        const Model oldModel = root->GetModel();
        root->SetModel(oldModel, 5);
        if (other) {
            other->SetRelativeTrafo(Shift(1, 2, -0.0));
            other->SetVisible(true);
        }
        if (const auto inner = source.GetRootInner()) inner->SetModel(inner->GetModel(), 9);
        const auto revision = root->GetNodeRevision(3);

        root->AssumeAttributes(other, what);
        EXPECT_THAT(root->GetRelativeTrafo(),
                    HasBitsOf(takesProperties ? Shift(1, 2, -0.0) : c_matIdentityD));
        EXPECT_EQ(root->IsVisible(), takesProperties);
        const CString description = takesProperties ? CB_TEXT("other") : CB_TEXT("root");
        EXPECT_EQ(root->GetDescription(), description);
        EXPECT_EQ(oldModel->GetDescription(), description) << "the model it had is relabelled";
        EXPECT_EQ(root->GetModel(), takesModel ? other->GetModel() : oldModel);
        EXPECT_EQ(root->GetModelRevision(), takesModel ? 9 : 5);
        EXPECT_EQ(root->GetNodeRevision(3), revision);
        root->DeleteModel();
        EXPECT_EQ(root->GetModelRevision(), -1);
    }
}

Model modelWithPoints(std::initializer_list<CbVector3f> points)
{
    const auto surfels =
        CbMake<ZeCSurfelCollectionQMT>(static_cast<std::uint32_t>(points.size()), true,
                                       ZeCSurfelContainer::ESurfelAttributeSet::Complete, nullptr);
    std::copy(points.begin(), points.end(), surfels->GetPositionAccessor().begin());
    return CbMake<ZeCModelQMT>(surfels, false);
}

TEST(ABoundingBox, HoldsTheLeavesInTheFrameThatIsAskedFor)
{
    CbMatrix4Rd quarterTurn; // x to y, y to -x
    quarterTurn[0][0] = quarterTurn[1][1] = 0.0;
    quarterTurn[0][1] = 1.0;
    quarterTurn[1][0] = -1.0;
    const Inner root = CbMake<ZeCTransformationNodeInner>();
    const Inner cluster = CbMake<ZeCTransformationNodeInner>();
    const Leaf a = CbMake<ZeCTransformationNodeLeaf>(modelWithPoints({{1, 0, 0}, {2, 0, 0}}));
    const Leaf b = CbMake<ZeCTransformationNodeLeaf>(modelWithPoints({{0, 0, 7}}));
    LinkByHand(root, cluster);
    LinkByHand(root, b);
    LinkByHand(root, CbMake<ZeCTransformationNodeLeaf>());                      // no model
    LinkByHand(root, CbMake<ZeCTransformationNodeLeaf>(CbMake<ZeCModelQMT>())); // no surfels
    LinkByHand(root, CbMake<ZeCTransformationNodeInner>());                     // no leaf
    LinkByHand(cluster, a);
    root->SetRelativeTrafo(Shift(1000, 0, 0)); // leads out of the frame: plays no part
    cluster->SetRelativeTrafo(quarterTurn);
    a->SetRelativeTrafo(Shift(3, 0, 5));
    // The cached model of an inner node plays no part.
    cluster->SetModel(modelWithPoints({{500, 500, 500}}), -1);

    EXPECT_EQ(root->GetBoundingBox(c_matIdentityD), CyBoundingBox3D({0, 0, 5}, {0, 5, 7}));
    EXPECT_EQ(root->GetBoundingBox(quarterTurn), CyBoundingBox3D({-5, 0, 5}, {0, 0, 7}));
    // A leaf alone stays in its own frame, whatever is asked for.
    EXPECT_EQ(a->GetBoundingBox(quarterTurn), CyBoundingBox3D({1, 0, 0}, {2, 0, 0}));
    // The leaf's transformation comes first, the frame asked for second.
    EXPECT_EQ(cluster->GetBoundingBox(quarterTurn), CyBoundingBox3D({0, 4, 5}, {0, 5, 5}));

    // Nothing is inverted on the way.
    CbMatrix4Rd flat;
    flat[0][0] = 0.0;
    cluster->SetRelativeTrafo(flat);
    EXPECT_EQ(root->GetBoundingBox(c_matIdentityD), CyBoundingBox3D({0, 0, 5}, {0, 0, 7}));
}

TEST(ALeaf, AssumesPropertiesFromLeavesOnlyAndNothingElse)
{
    const auto leaf = CbMake<ZeCTransformationNodeLeaf>();
    EXPECT_FALSE(leaf->IsVisible());
    const auto scan = CbMake<ZeCTransformationNodeLeaf>(Model(CbMake<ZeCModelQMT>()));
    EXPECT_TRUE(scan->IsVisible());
    scan->SetIsNewEntryScan(true);
    scan->SetRelativeTrafo(Shift(1, 2, 3));

    const auto revision = leaf->GetNodeRevision(3);
    leaf->AssumeAttributes(CbMake<ZeCTransformationNodeInner>(), EAttributes::Properties);
    leaf->AssumeAttributes(nullptr, EAttributes::Properties);
    EXPECT_THAT(leaf->GetRelativeTrafo(), HasBitsOf(c_matIdentityD));
    leaf->AssumeAttributesIncrementVersion(scan);
    EXPECT_THAT(leaf->GetRelativeTrafo(), HasBitsOf(Shift(1, 2, 3)));
    EXPECT_TRUE(leaf->IsVisible());
    EXPECT_FALSE(leaf->GetModel());
    EXPECT_FALSE(leaf->IsNewEntryScan());
    EXPECT_EQ(leaf->GetNodeRevision(3), revision);
}

// Tells when it dies.
class MortalModel : public ZeCModelQMT
{
public:
    MortalModel(char name, std::string& died) : name_(name), died_(died) {}

protected:
    ~MortalModel() override { died_ += name_; }

private:
    char name_;
    std::string& died_;
};

TEST(ATreeThatDies, GoesChildByChildEachSubtreeBeforeTheNextSibling)
{
    std::string died;
    const auto leaf = [&](char name) {
        return CbMake<ZeCTransformationNodeLeaf>(Model(CbMake<MortalModel>(name, died)));
    };
    const auto inner = [&](char name, const std::vector<Node>& children) {
        const auto node = CbMake<ZeCTransformationNodeInner>();
        node->SetModel(CbMake<MortalModel>(name, died), -1);
        for (const Node& child : children) LinkByHand(node, child);
        return node;
    };
    // Held in one place each, or they would live on.
    auto root = [&] {
        return inner('r', {leaf('a'), inner('x', {leaf('b'), leaf('c')}), leaf('d')});
    }();
    EXPECT_EQ(died, "");
    root = nullptr;
    EXPECT_EQ(died, "abcxdr");
}

} // namespace
