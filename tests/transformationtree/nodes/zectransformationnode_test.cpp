#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/support/logrecorder.h"
#include "tests/support/scenario.h"
#include "tests/support/storedbytes.h"
#include "tests/support/treematrices.h"
#include "transformationtree/nodes/zectransformationnode.h"

#include <cstdlib>
#include <gtest/gtest.h>
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

struct Revisions
{
    explicit Revisions(const Node& node)
        : model(node->GetNodeRevision(1)), trafo(node->GetNodeRevision(2))
    {}
    friend bool operator==(const Revisions&, const Revisions&) = default;

    long long model;
    long long trafo;
};

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
        EXPECT_EQ(Revisions(copy), Revisions(node));
        if (const auto inner = CbDynamicPointerCast<ZeCTransformationNodeInner>(copy)) {
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
    constexpr auto c_largest = std::numeric_limits<long long>::max();
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
        const auto before = Revisions(a);
        const CbMatrix4Rd wanted = RandomPose(random);
        a->SetRelativeTrafo(wanted, ancestor);
        EXPECT_THAT(a->GetRelativeTrafo(ancestor), IsNear(wanted, 1e-12));
        EXPECT_EQ(Revisions(a).model, before.model);
        EXPECT_GT(Revisions(a).trafo, before.trafo);
    }
}

template<class Exception>
void expectRefused(const Node& node, const ConstInner& ancestor, const char* file, unsigned line,
                   const char* function)
{
    const auto revisions = Revisions(node);
    const CbMatrix4Rd before = node->GetRelativeTrafo();
    ExpectThrowsFrom<Exception>(
        file, line, [&] { node->SetRelativeTrafo(Shift(1, 2, 3), ancestor); }, function);
    EXPECT_THAT(node->GetRelativeTrafo(), HasBitsOf(before));
    EXPECT_EQ(Revisions(node), revisions);
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

} // namespace
