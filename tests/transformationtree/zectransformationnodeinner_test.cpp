#include "tests/support/rounds.h"
#include "tests/support/scenario.h"
#include "tests/transformationtree/labelattribute.h"
#include "tests/transformationtree/treematrices.h"
#include "transformationtree/zectransformationnodeinner.h"
#include "transformationtree/zectransformationnodeiterators.h"

#include <array>
#include <gtest/gtest.h>
#include <thread>

namespace
{

using EAttributes = ZeCTransformationNode::EAttributesToCopy;

TEST(Children, AreFoundByIdentity)
{
    const Scenario tree("root(a, b, c)");
    const Inner root = tree.GetRootInner();
    const auto& asConst = *root;
    EXPECT_EQ(root->GetNrChildren(), 3U);
    EXPECT_EQ(root->FrontChild(), tree["a"]);
    EXPECT_EQ(asConst.BackChild(), tree["c"]);
    EXPECT_EQ(*root->LastChild(), tree["c"]);
    EXPECT_EQ(root->FindChild(tree["b"]), root->BeginChild() + 1);
    EXPECT_EQ(asConst.FindChild(tree["root"]), asConst.EndChild());
    EXPECT_EQ(asConst.FindChild(nullptr), asConst.EndChild());
    TestAccess::Children(*root).push_back(tree["b"]);
    EXPECT_EQ(asConst.FindChild(tree["b"]), asConst.BeginChild() + 1) << "the first position";
    root->ReserveChildren(1000);
    EXPECT_GE(TestAccess::Children(*root).capacity(), 1000U);
    EXPECT_THROW(root->ReserveChildren(~0ULL), std::length_error);
    EXPECT_EQ(root->GetNrChildren(), 4U);
}

TEST(ANodeWithoutChildren, HasNoFirstAndNoLastOne)
{
    const Inner inner = CbMake<ZeCTransformationNodeInner>();
    const auto& asConst = *inner;
    EXPECT_EQ(inner->LastChild(), inner->EndChild());
    EXPECT_EQ(asConst.LastChild(), asConst.EndChild());
    EXPECT_EQ(inner->FindChild(inner), inner->EndChild());
    EXPECT_FALSE(inner->FrontChild());
    EXPECT_FALSE(asConst.FrontChild());
    EXPECT_FALSE(inner->BackChild());
    EXPECT_FALSE(asConst.BackChild());
    EXPECT_TRUE(inner->EmptyLeafs());
    EXPECT_TRUE(inner->GetBoundingBox(c_matIdentityD).IsEmpty());
    for (const unsigned mask : {0U, 1U, 2U, 3U}) {
        EXPECT_EQ(inner->GetNodeRevisionSubtree(mask), inner->GetNodeRevision(mask));
    }
}

TEST(ACachedModel, KeepsTheRevisionItStandsForUntilItIsDeleted)
{
    const Inner inner = CbMake<ZeCTransformationNodeInner>();
    EXPECT_EQ(inner->GetModelRevision(), -1);
    inner->SetModel(CbMake<ZeCModelQMT>(), 42);
    inner->NewNodeRevision(3);
    EXPECT_EQ(inner->GetModelRevision(), 42);
    inner->DeleteModel();
    EXPECT_FALSE(inner->GetModel());
    EXPECT_EQ(inner->GetModelRevision(), -1);
}

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
            other->SetAttribute(CbMake<LabelAttribute>("label"));
        }
        if (const auto inner = source.GetRootInner()) inner->SetModel(inner->GetModel(), 9);
        const auto id = root->GetID();
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
        EXPECT_EQ(root->GetID(), id);
        EXPECT_EQ(root->GetNodeRevision(3), revision);
        EXPECT_TRUE(root->GetAllAttributes().IsEmpty());
    }
}

// The newest revisions, by recursion, and what every inner node is to have after a roll-up.
std::array<long long, 2> newest(const Node& node, std::map<Node, std::array<long long, 2>>& rolled)
{
    std::array<long long, 2> result{node->GetNodeRevision(1), node->GetNodeRevision(2)};
    if (!node->IsLeaf()) {
        for (const Node& child :
             TestAccess::Children(static_cast<ZeCTransformationNodeInner&>(*node))) {
            if (!child) continue;
            const auto below = newest(child, rolled);
            for (int i = 0; i < 2; ++i) result[i] = std::max(result[i], below[i]);
        }
    }
    rolled[node] = result;
    return result;
}

TEST(RollingUpRevisions, RaisesEveryInnerNodeToTheNewestBelowIt)
{
    for (int round = 0; round < Rounds(200); ++round) {
        SCOPED_TRACE(testing::Message() << "seed " << round);
        std::mt19937 random(round);
        std::vector<Inner> inners{CbMake<ZeCTransformationNodeInner>()};
        for (int i = 0; i < 30; ++i) {
            const Inner father = inners[random() % inners.size()];
            Node child;
            if (random() % 2) {
                inners.push_back(CbMake<ZeCTransformationNodeInner>());
                child = inners.back();
            } else if (random() % 4) {
                child = CbMake<ZeCTransformationNodeLeaf>();
            }
            for (const unsigned mask : {1U, 2U}) {
                if (child) child->SetNodeRevision(static_cast<int>(random() % 200) - 50, mask);
            }
            LinkByHand(father, child);
        }
        const Inner root = inners[0];
        std::map<Node, std::array<long long, 2>> expected;
        const auto [model, trafo] = newest(root, expected);

        const auto revision = root->GetNodeRevision(3);
        EXPECT_EQ(root->GetNodeRevisionSubtree(0), -1);
        EXPECT_EQ(root->GetNodeRevisionSubtree(1), model);
        EXPECT_EQ(root->GetNodeRevisionSubtree(2), trafo);
        EXPECT_EQ(root->GetNodeRevisionSubtree(3), std::max(model, trafo));
        EXPECT_EQ(root->GetNodeRevision(3), revision) << "asking changes nothing";

        std::array<long long, 2> out{};
        root->UpdateNodeRevisionSubtree(round % 2 ? out.data() : nullptr);
        if (round % 2) {
            EXPECT_EQ(out, (std::array{model, trafo}));
        }
        for (const auto& [node, revisions] : expected) {
            ASSERT_EQ(node->GetNodeRevision(1), revisions[0]);
            ASSERT_EQ(node->GetNodeRevision(2), revisions[1]);
        }
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
    // The leaf's transformation comes first, the frame asked for second.
    EXPECT_EQ(cluster->GetBoundingBox(quarterTurn), CyBoundingBox3D({0, 4, 5}, {0, 5, 5}));
    EXPECT_EQ(cluster->GetBoundingBox(Shift(0, 0, 1)), CyBoundingBox3D({4, 0, 6}, {5, 0, 6}));

    // Nothing is inverted on the way.
    CbMatrix4Rd flat;
    flat[0][0] = 0.0;
    cluster->SetRelativeTrafo(flat);
    EXPECT_EQ(root->GetBoundingBox(c_matIdentityD), CyBoundingBox3D({0, 0, 5}, {0, 0, 7}));
}

TEST(ATreeThatDies, GoesChildByChildEachSubtreeBeforeTheNextSibling)
{
    Scenario tree("r(a(b, c()), d(e(f)), g)");
    Scenario other("x(y, z)");
    std::string died;
    for (const char* name : {"r", "a", "b", "c", "d", "f", "g"}) {
        tree[name]->SetAttribute(CbMake<LabelAttribute>("", [&died, name] { died += name; }));
    }
    for (const char* name : {"x", "y", "z"}) {
        other[name]->SetAttribute(CbMake<LabelAttribute>("", [&died, name] { died += name; }));
    }
    // The death of e releases another tree.
    tree["e"]->SetAttribute(CbMake<LabelAttribute>("", [&died, &other] {
        died += "e";
        other.Forget();
    }));
    tree.Forget();
    EXPECT_EQ(died, "bcafeyzxdgr");
}

// Walks, asks and drops a chain, on a thread with a stack of the usual size.
void useChain(int levels)
{
    Inner top = CbMake<ZeCTransformationNodeInner>();
    const Leaf leaf = CbMake<ZeCTransformationNodeLeaf>(modelWithPoints({{0, 5, 0}}));
    Inner lowest = top;
    for (int i = 1; i <= levels; ++i) {
        const Inner next = i < levels ? CbMake<ZeCTransformationNodeInner>() : nullptr;
        const Node child = next ? Node(next) : Node(leaf);
        child->SetRelativeTrafo(Shift(1, 0, 0));
        LinkByHand(lowest, child);
        lowest = next;
    }

    int steps = 0;
    for (auto it = top->BeginNode(); it; ++it) {
        ASSERT_EQ(it.Borrow().trafo[3][0], steps);
        ++steps;
    }
    EXPECT_EQ(steps, levels + 1);
    EXPECT_TRUE(top->LastNode() == top->Find(Node(leaf)));
    for (auto it = top->LastNode(); it; --it) --steps;
    EXPECT_EQ(steps, 0);
    EXPECT_EQ(top->GetNrLeafNodes(), 1U);
    EXPECT_EQ(top->GetNrCachedLeafNodes(), 1U);
    EXPECT_EQ(top->FrontLeaf(), leaf);
    EXPECT_EQ(top->BackNode(), leaf);
    const auto x = static_cast<float>(levels);
    EXPECT_EQ(top->GetBoundingBox(c_matIdentityD), CyBoundingBox3D({x, 5, 0}, {x, 5, 0}));
    EXPECT_EQ(leaf->GetRelativeTrafo(top)[3][0], levels);

    leaf->NewNodeRevision(3);
    EXPECT_LT(top->GetNodeRevision(3), leaf->GetNodeRevision(3));
    EXPECT_EQ(top->GetNodeRevisionSubtree(3), leaf->GetNodeRevision(3));
    top->UpdateNodeRevisionSubtree(nullptr);
    EXPECT_EQ(top->GetNodeRevision(1), leaf->GetNodeRevision(1));
    EXPECT_EQ(top->GetNodeRevision(2), leaf->GetNodeRevision(2));
    top = nullptr;
    EXPECT_FALSE(leaf->GetFather());
}

TEST(AChainOfManyLevels, NeedsNoStack) { std::jthread(&useChain, 100000).join(); }

} // namespace
