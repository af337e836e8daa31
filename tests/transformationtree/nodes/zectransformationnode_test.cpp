#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/support/logrecorder.h"
#include "tests/support/scenario.h"
#include "tests/support/storedbytes.h"
#include "tests/support/treematrices.h"
#include "transformationtree/nodes/zectransformationnode.h"

#include <cstdlib>
#include <limits>
#include <vector>

// The id may be asked for through a null pointer. The compiler must not conclude from the call that
// the pointer is never null, and neither may the sanitizer stop it.
#if defined(_MSC_VER) && !defined(__clang__)
#define CALLS_THROUGH_NULL __declspec(noinline)
#else
#define CALLS_THROUGH_NULL __attribute__((noinline, no_sanitize("undefined")))
#endif

namespace
{

using ConstInner = CbSmartPointer<const ZeCTransformationNodeInner>;

// Of the model and of the transformation.
auto revisionsOf(const Node& node)
{
    return std::pair(node->GetNodeRevision(1), node->GetNodeRevision(2));
}

// Volatile: compilers must not see that it is null.
const ZeCTransformationNode* volatile nullNode = nullptr;

CALLS_THROUGH_NULL CyUniqueID idOfNull() { return nullNode->GetID(); }

TEST(ANullNode, HasTheInvalidId)
{
    EXPECT_EQ(idOfNull(), ZeCTransformationNode::GetInvalidID());
    EXPECT_EQ(idOfNull().ToString(), CB_TEXT("00000000-0000-0000-0000-000000000000"));
}

TEST(ACopiedNode, IsADetachedTwinWithTheSameRevisions)
{
    std::mt19937 random(1);
    const Scenario tree("root(x*(a*, b), c*)");
    tree.GetInner("x")->SetModel(tree["x"]->GetModel(), 77);
    tree.GetLeaf("c")->SetIsNewEntryScan(true);
    for (const char* name : {"x", "c"}) {
        SCOPED_TRACE(name);
        const Node node = tree[name];
        node->SetRelativeTrafo(RandomPose(random));
        node->SetVisible(true);
        const auto head = TestAccess::NextGlobalNodeRevision();

        const Node copy(dynamic_cast<ZeCTransformationNode*>(node->GetRTTI().getClone()(*node)));
        EXPECT_EQ(TestAccess::NextGlobalNodeRevision(), head + 1) << "copies take no revisions";
        EXPECT_EQ(copy->GetRTTI().GetName(), node->GetRTTI().GetName());
        EXPECT_NE(copy->GetID(), node->GetID());
        EXPECT_EQ(copy->GetName(), copy->GetID().ToString());
        EXPECT_FALSE(copy->GetFather());
        EXPECT_FALSE(copy->GetModel());
        EXPECT_THAT(copy->GetRelativeTrafo(), HasBitsOf(node->GetRelativeTrafo()));
        EXPECT_EQ(copy->GetDescription(), node->GetDescription());
        EXPECT_TRUE(copy->IsVisible());
        EXPECT_EQ(revisionsOf(copy), revisionsOf(node));
        if (const auto inner = InnerOf(copy)) {
            ASSERT_EQ(inner->GetNrChildren(), 2U);
            EXPECT_EQ(inner->FrontChild(), tree["a"]);
            EXPECT_EQ(tree["a"]->GetFather(), node) << "the shared child stays where it is";
            EXPECT_EQ(inner->GetModelRevision(), 77);
        } else {
            EXPECT_TRUE(static_cast<ZeCTransformationNodeLeaf&>(*copy).IsNewEntryScan());
        }
    }
}

TEST(Revisions, AreSelectedByTheTwoLowestBits)
{
    const Node node = CbMake<ZeCTransformationNodeLeaf>();
    for (const unsigned mask : {0U, 1U, 2U, 3U, 4U, 0xFFFFFFFCU, 0xFFFFFFFDU, 0xFFFFFFFFU}) {
        SCOPED_TRACE(mask);
        const bool model = (mask & 1U) != 0;
        const bool trafo = (mask & 2U) != 0;
        const auto head = TestAccess::NextGlobalNodeRevision();
        node->SetNodeRevision(5, 1);
        node->SetNodeRevision(7, 2);
        EXPECT_EQ(node->GetNodeRevision(mask), trafo ? 7 : model ? 5 : -1);
        node->NewNodeRevision(mask);
        EXPECT_EQ(node->GetNodeRevision(1), model ? head + 1 : 5);
        EXPECT_EQ(node->GetNodeRevision(2), trafo ? head + 1 + model : 7);
        node->SetNodeRevision(-40, 3);
        EXPECT_EQ(node->GetNodeRevision(mask), model || trafo ? -40 : -1);
        EXPECT_EQ(TestAccess::NextGlobalNodeRevision(), head + 1 + model + trafo)
            << "setting takes no numbers";
    }
}

TEST(TheHeadRevision, IsRaisedAboveARestoredOneAndNeverLowered)
{
    const Node node = CbMake<ZeCTransformationNodeLeaf>();
    const auto head = TestAccess::NextGlobalNodeRevision();
    TestAccess::AssertGlobalNodeHeadRevisionValid(head - 1);
    EXPECT_EQ(TestAccess::NextGlobalNodeRevision(), head + 1);
    TestAccess::AssertGlobalNodeHeadRevisionValid(head + 1); // equal: raised as well
    EXPECT_EQ(TestAccess::NextGlobalNodeRevision(), head + 3);
    node->SetNodeRevision(head + 1000, 3);
    TestAccess::AssertGlobalNodeHeadRevisionValid(head + 1000);
    node->NewNodeRevision(1);
    EXPECT_EQ(node->GetNodeRevision(1), head + 1002);
}

// In a process of its own, since the counter can't be set back.
TEST(TheHeadRevision, StopsAtTheLargestNumber)
{
    constexpr auto c_largest = std::numeric_limits<ZeTNodeRevision>::max();
    const auto count = [] {
        const Node node = CbMake<ZeCTransformationNodeLeaf>();
        TestAccess::AssertGlobalNodeHeadRevisionValid(c_largest - 2);
        node->NewNodeRevision(3);
        bool stops = node->GetNodeRevision(1) == c_largest && node->GetNodeRevision(2) == c_largest;
        TestAccess::AssertGlobalNodeHeadRevisionValid(c_largest);
        stops = stops && TestAccess::NextGlobalNodeRevision() == c_largest;
        std::_Exit(stops ? 0 : 1);
    };
    EXPECT_EXIT(count(), testing::ExitedWithCode(0), "");
}

TEST(ARelativeTrafo, ComposesFromTheNodeUpToTheAncestor)
{
    std::mt19937 random(2);
    const Scenario tree("top(root(x(y(a))), other())");
    for (const char* name : {"top", "root", "x", "y", "a"}) {
        tree[name]->SetRelativeTrafo(RandomPose(random));
    }
    const Node a = tree["a"];
    CbMatrix4Rd expected = a->GetRelativeTrafo();
    for (const char* name : {"y", "x", "root", "top"}) {
        const Inner ancestor = tree.GetInner(name);
        EXPECT_THAT(a->GetRelativeTrafo(ancestor), HasBitsOf(expected)) << name;
        EXPECT_THAT(ancestor->GetRelativeTrafo(ancestor), HasBitsOf(c_matIdentityD));
        expected = ProductByHand(expected, ancestor->GetRelativeTrafo());
    }
    for (const auto& noAncestor : {ConstInner(), ConstInner(tree.GetInner("other"))}) {
        EXPECT_EQ(a->GetRelativeTrafo(noAncestor), expected);
    }
    const CbMatrix4Rd negativeZero = Shift(-0.0, 1, 2);
    a->SetRelativeTrafo(negativeZero);
    EXPECT_THAT(a->GetRelativeTrafo(tree.GetInner("y")), HasBitsOf(negativeZero));

    // The other way: placing renews the revision of the transformation only.
    for (const auto& ancestor :
         {ConstInner(tree.GetInner("y")), ConstInner(tree.GetInner("x")),
          ConstInner(tree.GetInner("root")), ConstInner(tree.GetInner("other")), ConstInner()}) {
        const auto [model, trafo] = revisionsOf(a);
        const CbMatrix4Rd wanted = RandomPose(random);
        a->SetRelativeTrafo(wanted, ancestor);
        EXPECT_THAT(a->GetRelativeTrafo(ancestor), IsNear(wanted, 1e-12));
        EXPECT_EQ(a->GetNodeRevision(1), model);
        EXPECT_GT(a->GetNodeRevision(2), trafo);
    }
}

template<class Exception>
void expectRefused(const Node& node, const ConstInner& ancestor, const char* file, unsigned line,
                   const char* function)
{
    const auto revisions = revisionsOf(node);
    const CbMatrix4Rd before = node->GetRelativeTrafo();
    ExpectThrowsFrom<Exception>(
        file, line, [&] { node->SetRelativeTrafo(Shift(1, 2, 3), ancestor); }, function);
    EXPECT_THAT(node->GetRelativeTrafo(), HasBitsOf(before));
    EXPECT_EQ(revisionsOf(node), revisions);
}

TEST(PlacingANode, LeavesItAsItWasWhereItCanNotBePlaced)
{
    const Scenario tree("root(x(y(a)))");
    CbMatrix4Rd flat;
    flat[1][1] = 0.0;
    tree["x"]->SetRelativeTrafo(flat);
    for (const auto& ancestor : {ConstInner(tree.GetInner("root")), ConstInner()}) {
        expectRefused<CyExceptionNotInvertible>(tree["a"], ancestor, "cbmatrixbasematrixgeomdef",
                                                996, "");
    }
    tree["a"]->SetRelativeTrafo(Shift(1, 0, 0), tree.GetInner("x")); // below the singular one

    for (const bool enabled : {true, false}) {
        LogRecorder log;
        log.SetEnabled(3, enabled);
        expectRefused<CbException>(tree["root"], tree.GetInner("x"), "zectransformationnode", 405,
                                   "ZeCTransformationNode::SetRelativeTrafo");
        const auto records = log.TakeRecords();
        ASSERT_EQ(records.size(), enabled ? 1U : 0U);
        if (!enabled) continue;
        EXPECT_EQ(records[0].level, 3U);
        EXPECT_EQ(records[0].logger, CB_TEXT("Diagnostics.Registration.TransformationNode"));
        EXPECT_EQ(records[0].file, "zectransformationnode");
        EXPECT_EQ(records[0].line, 403U);
        EXPECT_EQ(records[0].function, "ZeCTransformationNode::SetRelativeTrafo");
        EXPECT_THAT(records[0].text.ToUtf8(),
                    testing::StartsWith("Setting relative Trafo on Node without Father!\n"));
    }
}

using EAttributes = ZeCTransformationNode::EAttributesToCopy;

TEST(AssumingAttributes, TakesTheModelOnlyFromANodeWithAsManyChildren)
{
    constexpr auto c_properties = EAttributes::Properties;
    constexpr auto c_model = EAttributes::PropertiesAndModel;
    const struct
    {
        const char* other;
        EAttributes what;
        bool takesProperties;
        bool takesModel;
    } cases[] = {
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

Model modelWithPoints(const std::vector<CbVector3f>& points)
{
    return CbMake<ZeCModelQMT>(SurfelsAt(points), false);
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
