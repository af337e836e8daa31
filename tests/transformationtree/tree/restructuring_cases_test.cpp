// Merging, copying, normalising and collapsing where random trees do not lead.

#include "platform/base/cbexception.h"
#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/support/managerfixture.h"
#include "tests/support/messagerecorder.h"
#include "tests/support/scenario.h"
#include "tests/support/treematrices.h"
#include "transformationtree/tree/zectransformationtreeutility.h"

namespace
{

using EWhat = ZeCTransformationNode::EAttributesToCopy;

class RestructuringACase : public NodeManagerTest
{
protected:
    // The nodes with newer revisions of their models (m) and transformations (t).
    static std::string renewed(const Scenario& tree, long long since)
    {
        std::string text;
        for (const auto& [name, node] : tree.GetNodes()) {
            const bool model = node->GetNodeRevision(1) > since;
            const bool trafo = node->GetNodeRevision(2) > since;
            if (model || trafo) text += name + (model ? ":m" : ":") + (trafo ? "t " : " ");
        }
        return text;
    }

    std::mt19937 random_{20240805};
    ZeCTransformationTreeUtility& utility_ =
        CbSingleton<ZeCTransformationTreeUtility>::GetInstance();
    MessageRecorder recorder_;
    Manager::WriteHandle handle_;
};

TEST_F(RestructuringACase, RefusesWhatItCannotDoAndChangesNothing)
{
    const std::string text = "root(a(b(c), d), e(f), empty(g()))";
    const Scenario tree(text, Scenario::EBuilder::Manager);
    const Scenario loose("top(x(y))", Scenario::EBuilder::Manager);
    manager().SetRootNode(tree.GetRootInner());
    handle_ = manager().GetWriteHandle(tree.GetRoot());
    ASSERT_TRUE(manager().TryLock());
    const auto revision = tree.GetRoot()->GetNodeRevisionSubtree(3);
    const auto in = [&](const char* name) { return tree.GetInner(name); };
    const std::pair<Inner, Inner> refused[] = {
        {loose.GetInner("x"), in("e")},
        {in("e"), loose.GetInner("x")},
    };
    for (const auto& [source, target] : refused) {
        utility_.MergeInnerNodes(source, target, Shift(1, 2, 3), true);
        EXPECT_EQ(Describe(*tree.GetRoot()) + Describe(*loose.GetRoot()), text + "top(x(y))");
    }
    for (const int fanOut : {1, 0, -1}) {
        EXPECT_THROW(utility_.NormalizeTreeStructure(in("root"), fanOut, true), CbException);
        EXPECT_THROW(utility_.NormalizeTreeStructure(nullptr, fanOut, true), CbException);
    }
    EXPECT_THROW(utility_.NormalizeTreeStructure(in("g"), 0, true), CbException);
    EXPECT_THROW(utility_.CollapseAll(nullptr, true), CbException);
    utility_.CollapseAll(in("g"), true);
    EXPECT_EQ(tree.GetRoot()->GetNodeRevisionSubtree(3), revision);

    CbMatrix4Rd singular;
    singular[1][1] = 0;
    tree["b"]->SetRelativeTrafo(singular);
    EXPECT_THROW(utility_.NormalizeTreeStructure(in("root"), 2, true), CyExceptionNotInvertible);
    EXPECT_THROW(utility_.CollapseAll(in("root"), true), CyExceptionNotInvertible);
    EXPECT_EQ(Describe(*tree.GetRoot()), text);
    EXPECT_EQ(TestAccess::CountIds(manager()), 12U);
    EXPECT_TRUE(recorder_.Take().empty());
}

TEST_F(RestructuringACase, MergesBySourceToTarget)
{
    const Scenario tree("root(a(b, c), d(e), f(g))");
    const CbMatrix4Rd b = RandomPose(random_);
    const CbMatrix4Rd c = RandomSparse(random_);
    tree["b"]->SetRelativeTrafo(b);
    tree["c"]->SetRelativeTrafo(c);
    const auto since = TestAccess::NextGlobalNodeRevision();
    utility_.MergeInnerNodes(tree.GetInner("a"), tree.GetInner("d"), c_matIdentityD, false);
    EXPECT_EQ(Describe(*tree.GetRoot()), "root(d(e, b, c), f(g))");
    EXPECT_EQ(renewed(tree, since), "a:mt b:t c:t d:mt root:mt ");
    EXPECT_GT(tree["d"]->GetNodeRevision(1), tree["c"]->GetNodeRevision(2));
    EXPECT_THAT(tree["c"]->GetRelativeTrafo(), HasBitsOf(c));
    // A matrix that is changed by the merge itself.
    utility_.MergeInnerNodes(tree.GetInner("d"), tree.GetInner("f"), tree["b"]->GetRelativeTrafo(),
                             false);
    EXPECT_THAT(tree["b"]->GetRelativeTrafo(), HasBitsOf(Compose(b, b)));
    EXPECT_THAT(tree["c"]->GetRelativeTrafo(), HasBitsOf(Compose(c, b)));
}

// A place that a node has left for another father, and null entries.
TEST_F(RestructuringACase, LeavesNodesWithTheirFathers)
{
    const auto build = [&] {
        Scenario tree("root(a(b(c, null), d), e(f(g), null), h(i))");
        manager().ExchangeChild(tree.GetInner("h"), tree["i"], tree["f"]);
        return tree;
    };
    auto tree = build();
    TestAccess::Children(*tree.GetInner("e")).Append({tree["b"]}); // walks find a leaf there
    const auto since = TestAccess::NextGlobalNodeRevision();
    utility_.MergeInnerNodes(tree.GetInner("e"), tree.GetInner("h"), Shift(1, 2, 3), true);
    EXPECT_EQ(RenewalOrder(tree.GetRoot(), since), "root") << "nothing came to h";
    EXPECT_EQ(Describe(*tree.GetRoot()), "root(a(b(c, null), d), h(f(g)))");
    EXPECT_EQ(Describe(*tree["e"]), "e()");
    EXPECT_EQ(recorder_.Take(), std::vector<std::string>{"structure e < root 2"});
    EXPECT_EQ(tree["f"]->GetRelativeTrafo(), c_matIdentityD);

    tree = build();
    utility_.CollapseAll(tree.GetInner("e"), false);
    EXPECT_EQ(Describe(*tree.GetRoot()), "root(a(b(c, null), d), e(), h(f(g)))");
    utility_.CollapseAll(tree.GetRootInner(), false);
    EXPECT_EQ(tree.GetRootInner()->GetNrChildren(), 3U);
    tree = build();
    utility_.NormalizeTreeStructure(tree.GetRootInner(), 2, false);
    EXPECT_EQ(Describe(*tree.GetRoot()), "root(ClusterDummy(c, d), Inner(g))");

    tree = build();
    EXPECT_EQ(Describe(*utility_.CopySubtree(tree["e"], EWhat::Properties, nullptr, false)),
              "e(f(g))");
    for (const char* above : {"h", "e"}) { // both lead to it
        EXPECT_THROW(manager().MoveNodes(tree.GetInner("f"), {tree[above]}), CbException);
    }
    manager().MoveNodes(tree.GetInner("e"), {tree["f"], tree["c"]});
    EXPECT_EQ(Describe(*tree.GetRoot()), "root(a(b(), d), e(null, f(g), c), h())");
}

TEST_F(RestructuringACase, MovesManyNodesAtOnce)
{
    const Scenario tree("root(a(b, c(d)), e(f))", Scenario::EBuilder::Manager);
    const Scenario loose("top(x(y), z)", Scenario::EBuilder::Manager);
    const auto describe = [&] { return Describe(*tree.GetRoot()) + Describe(*loose.GetRoot()); };
    manager().SetRootNode(tree.GetRootInner());
    const Inner a = tree.GetInner("a");
    const std::vector<Node> refused[] = {
        {tree["f"], tree["f"]}, {tree["f"], nullptr}, {tree["f"], tree["root"]}, {tree["f"], a}};
    for (const auto& nodes : refused) {
        EXPECT_THROW(manager().MoveNodes(a, nodes), CbException);
        EXPECT_THROW(manager().ReplaceChildren(a, nodes), CbException);
    }
    EXPECT_THROW(manager().MoveNodes(tree.GetInner("c"), {tree["f"], a}), CbException);
    EXPECT_THROW(manager().MoveNodes(nullptr, {}), CbException);
    EXPECT_EQ(describe(), "root(a(b, c(d)), e(f))top(x(y), z)");

    const auto since = TestAccess::NextGlobalNodeRevision();
    manager().MoveNodes(a, {loose["x"], tree["f"], tree["b"]}); // in, across and to the end
    EXPECT_EQ(renewed(tree, since) + renewed(loose, since), "a:mt e:mt top:mt ");
    EXPECT_EQ(describe(), "root(a(c(d), x(y), f, b), e())top(z)");
    EXPECT_TRUE(manager().IsNodeInDataManager(loose["y"]));
    manager().ReplaceChildren(loose.GetRootInner(), {tree["d"], tree["e"]}); // out
    EXPECT_EQ(describe(), "root(a(c(), x(y), f, b))top(d, e())");
    EXPECT_FALSE(manager().IsNodeInDataManager(tree["d"]));
    EXPECT_FALSE(manager().GetNodeByID(loose["z"]->GetID()));
    const auto handle = manager().GetWriteHandle(tree.GetRoot());
    EXPECT_TRUE(manager().TryLock() && manager().IsValid());

    const Scenario wide("root(a(), b(p), c(q), d(r), e(s))");
    const auto before = TestAccess::NextGlobalNodeRevision();
    manager().MoveNodes(wide.GetInner("a"), {wide["s"], wide["q"], wide["p"], wide["r"]});
    EXPECT_EQ(RenewalOrder(wide.GetRoot(), before), "e c b d a");
}

TEST_F(RestructuringACase, TakesTreesOfAnyDepth)
{
    constexpr std::size_t depth = 100000;
    const Inner above = manager().CreateInnerNode();
    const Inner root = manager().CreateInnerNode();
    manager().AppendChild(above, root);
    Inner bottom = root;
    for (std::size_t i = 1; i < depth; ++i) {
        const Inner below = manager().CreateInnerNode();
        manager().AppendChild(bottom, manager().CreateLeafNode(nullptr));
        manager().AppendChild(bottom, below);
        bottom = below;
    }
    const auto copy = CbDynamicPointerCast<ZeCTransformationNodeInner>(
        utility_.CopySubtree(root, EWhat::PropertiesAndModel, nullptr, false));
    utility_.NormalizeTreeStructure(copy, 2, false);
    utility_.CollapseAll(copy, false);
    EXPECT_EQ(copy->GetNrChildren(), depth - 1);
    (void)recorder_.Take();

    for (int i = 0; i < 2; ++i) manager().AppendChild(bottom, manager().CreateLeafNode(nullptr));
    Inner top = root;
    EXPECT_EQ(utility_.PrepareForNextChild(bottom, 2, top)->GetNrChildren(), 0U);
    EXPECT_EQ(recorder_.Take().size(), depth + 2); // a new top, its old one, and a branch
    utility_.RemoveSubtree(top, true);
    EXPECT_EQ(recorder_.Take().size(), 3 * depth + 2);
    EXPECT_EQ(TestAccess::CountIds(manager()), depth + 1); // above, and the copy
    EXPECT_TRUE(manager().IsValid());
}

} // namespace
