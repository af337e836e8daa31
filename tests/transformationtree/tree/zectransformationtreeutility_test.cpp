// Building, removing and restructuring where random trees do not lead.

#include "platform/base/cbexception.h"
#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/support/managerfixture.h"
#include "tests/support/messagerecorder.h"
#include "tests/support/treematrices.h"
#include "transformationtree/tree/zectransformationtreeutility.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <functional>
#include <optional>
#include <stdexcept>

namespace
{

using Verb = std::function<void()>;
using EWhat = ZeCTransformationNode::EAttributesToCopy;

class Mark final : public ZeARTTIAttribute
{
public:
    static const CbRTTI RTTI;
    [[nodiscard]] const CbRTTI& GetRTTI() const override { return RTTI; }
    void Serialize(CbStreamWriteBinary& /*stream*/) const override {}
    void Serialize(CbStreamReadBinary& /*stream*/) override {}
    bool ResetAttribute() override
    {
        if (onReset) onReset();
        return true;
    }

    std::function<void()> onReset;
};

const CbRTTI Mark::RTTI(CB_TEXT("UtilityTestMark"), nullptr, nullptr, &ZeARTTIAttribute::RTTI);

Model ModelNamed(const char* name)
{
    const auto model = CbMake<ZeCModelQMT>();
    model->SetDescription(CString::FromUtf8(name));
    return model;
}

class TheTreeUtility : public NodeManagerTest
{
protected:
    // Makes a tree the manager's, and locks it for this thread.
    void build(const std::string& text)
    {
        handle.Release();
        unsetRoot();
        tree.emplace(text, Scenario::EBuilder::Manager);
        manager().SetRootNode(tree->GetRootInner());
        handle = manager().GetWriteHandle(tree->GetRoot());
        ASSERT_TRUE(manager().TryLock());
    }
    [[nodiscard]] const Node& node(const std::string& name) const { return (*tree)[name]; }
    [[nodiscard]] Inner inner(const std::string& name) const { return tree->GetInner(name); }
    [[nodiscard]] std::string describe() const { return Describe(*tree->GetRoot()); }

    // What was posted since the last call, changes of the structure without their name.
    [[nodiscard]] std::string told()
    {
        std::string text;
        for (const auto& line : recorder.Take()) {
            text += (text.empty() ? "" : ", ") + line.substr(line.find("structure ") == 0 ? 10 : 0);
        }
        return text;
    }

    ZeCTransformationTreeUtility& utility =
        CbSingleton<ZeCTransformationTreeUtility>::GetInstance();
    MessageRecorder recorder;
    std::optional<Scenario> tree;
    Manager::WriteHandle handle;
};

TEST_F(TheTreeUtility, TellsWhatItDoes)
{
    const CbMatrix4Rd shift = Shift(1, 2.5, 0.1);
    // Verbs, on nodes that are found when their turn comes.
    const auto create = [&](const char* father, const Model& model) {
        return [=, this] { utility.CreateLeaf(inner(father), model, model ? &shift : nullptr); };
    };
    const auto replace = [&](const char* leaf) {
        return [=, this] { utility.CreateLeafAndReplace(tree->GetLeaf(leaf), nullptr); };
    };
    const auto noRoom = [&](const char* at, unsigned int maxChildren, const char* top) {
        return [=, this] {
            Inner topNode = inner(top);
            EXPECT_FALSE(utility.PrepareForNextChild(inner(at), maxChildren, topNode));
            EXPECT_EQ(topNode, inner(top));
        };
    };
    const Verb removeNull = [&] { utility.RemoveSubtree(nullptr, true); };
    const Verb clear = [&] {
        const auto mark = CbMake<Mark>();
        mark->onReset = [] { throw std::runtime_error("reset"); };
        node("a")->SetAttribute(mark);
        EXPECT_THROW(utility.ClearAndRemoveChildren(inner("a"), true), std::runtime_error);
        EXPECT_FALSE(node("a")->GetAllAttributes().IsEmpty());
        std::string atReset;
        mark->onReset = [&] { atReset = describe(); };
        utility.ClearAndRemoveChildren(inner("a"), true);
        EXPECT_EQ(atReset, "root(a(b))") << "before the children go";
        EXPECT_TRUE(node("a")->GetAllAttributes().IsEmpty());
    };
    const Verb exchangeAndRemove = [&] {
        manager().ExchangeChild(inner("a"), node("b"), node("d"));
        manager().DeleteNode(node("b"));
        utility.RemoveSubtree(node("c"), true);
    };
    const struct
    {
        Verb edit;
        const char* before;
        const char* after;
        const char* messages;
        const char* renewed; // the nodes of the tree, oldest first
    } rows[] = {
        {create("a", ModelNamed("scan")), "root(a(b))", "root(a(b, scan*))",
         "trafo scan 1 0 0 0 0 1 0 0 0 0 1 0 1 2.5 0.1 1", "scan a"},
        {create("a", nullptr), "root(a(b))", "root(a(b))", "", ""},
        {replace("old"), "root(a(b, old*, c))", "root(a(b, old, c))", "", "old a"},
        // No room: not in a new top either, none anywhere, no father, and another branch.
        {noRoom("a", 1, "top"), "root(top(a(b)))", "root(top(a(b)))", "", ""},
        {noRoom("a", 0, "top"), "root(top(a()))", "root(top(a()))", "", ""},
        {noRoom("a", 2, "root"), "root(a(b, c), d)", "root(a(b, c), d)", "", ""},
        {noRoom("a", 2, "top"), "root(a(b, c), top())", "root(a(b, c), top())", "", ""},
        {removeNull, "root(a)", "root(a)", "", ""},
        {clear, "root(a(b))", "root(a())", "b < a 2", "a"},
        {exchangeAndRemove, "root(a(b), c(d(e), f))", "root(a(d(e)))", "f < c 2, c < root 2",
         "a root"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.before) + " -> " + row.after);
        build(row.before);
        const auto since = TestAccess::NextGlobalNodeRevision();
        row.edit();
        EXPECT_EQ(describe(), row.after);
        EXPECT_EQ(told(), row.messages);
        EXPECT_EQ(RenewalOrder(tree->GetRoot(), since), row.renewed);
        EXPECT_TRUE(manager().IsValid());
        EXPECT_EQ(TestAccess::CountIds(manager()),
                  static_cast<std::size_t>(std::ranges::distance(tree->GetRoot()->Nodes())));
    }
}

TEST_F(TheTreeUtility, GivesNewLeavesWhatTheyNeed)
{
    build("root(old*)");
    const CbMatrix4Rd shift = Shift(1, 2, 3);
    const Leaf detached = utility.CreateLeaf(nullptr, ModelNamed("scan"), &shift);
    EXPECT_EQ(recorder.Take().size(), 1U);
    EXPECT_FALSE(detached->GetFather());
    EXPECT_EQ(Describe(*detached), "scan*");

    detached->SetAttribute(CbMake<Mark>());
    detached->SetVisible(false);
    const Model other = ModelNamed("other");
    const Leaf next = utility.CreateLeafAndReplace(detached, other);
    EXPECT_FALSE(next->GetFather());
    EXPECT_EQ(Describe(*next), "scan*");
    EXPECT_EQ(next->GetModel(), other);
    EXPECT_THAT(next->GetRelativeTrafo(), HasBitsOf(shift));
    EXPECT_FALSE(next->IsVisible());
    EXPECT_TRUE(next->GetAllAttributes().IsEmpty());
    EXPECT_FALSE(manager().GetNodeByID(detached->GetID()));
    EXPECT_EQ(manager().GetNodeByID(next->GetID()), next);
}

TEST_F(TheTreeUtility, RefusesWhatItCannotDoAndChangesNothing)
{
    const std::string text = "root(a(b(c), d), e(f), empty(g()))";
    build(text);
    const Scenario loose("top(x(y))", Scenario::EBuilder::Manager);
    const auto revision = node("root")->GetNodeRevisionSubtree(3);
    Inner top = inner("root");
    Inner none;
    EXPECT_FALSE(utility.PrepareForNextChild(nullptr, 2, top));
    EXPECT_EQ(utility.PrepareForNextChild(top, 4, none), top);
    EXPECT_FALSE(utility.PrepareForNextChild(top, 3, none)) << "no level is grown";
    utility.MergeInnerNodes(loose.GetInner("x"), inner("e"), Shift(1, 2, 3), true);
    utility.MergeInnerNodes(inner("e"), loose.GetInner("x"), Shift(1, 2, 3), true);
    EXPECT_THROW(utility.CreateLeaf(top, ModelNamed("b"), nullptr), CbException);
    EXPECT_THROW(utility.CreateLeafAndReplace(nullptr, ModelNamed("b")), CbException);
    EXPECT_THROW(utility.RemoveChildren(nullptr, true), CbException);
    EXPECT_THROW(utility.ClearAndRemoveChildren(nullptr, true), CbException);
    for (const int fanOut : {1, 0, -1}) {
        EXPECT_THROW(utility.NormalizeTreeStructure(top, fanOut, true), CbException);
        EXPECT_THROW(utility.NormalizeTreeStructure(nullptr, fanOut, true), CbException);
    }
    EXPECT_THROW(utility.NormalizeTreeStructure(inner("g"), 0, true), CbException);
    EXPECT_THROW(utility.CollapseAll(nullptr, true), CbException);
    utility.CollapseAll(inner("g"), true);
    EXPECT_EQ(node("root")->GetNodeRevisionSubtree(3), revision);

    CbMatrix4Rd singular;
    singular[1][1] = 0;
    node("b")->SetRelativeTrafo(singular);
    EXPECT_THROW(utility.NormalizeTreeStructure(top, 2, true), CyExceptionNotInvertible);
    EXPECT_THROW(utility.CollapseAll(top, true), CyExceptionNotInvertible);
    EXPECT_EQ(describe() + Describe(*loose.GetRoot()), text + "top(x(y))");
    EXPECT_EQ(TestAccess::CountIds(manager()), 12U);
    EXPECT_EQ(told(), "");
}

TEST_F(TheTreeUtility, LeavesTheRootInTheDataManager)
{
    build("root(a(b))");
    utility.RemoveSubtree(node("root"), true);
    EXPECT_EQ(told(), "b < a 2, a < root 2, root < none 2");
    EXPECT_EQ(manager().GetRootNode(), node("root"));
    EXPECT_TRUE(manager().IsNodeInDataManager(node("root")));
    EXPECT_EQ(TestAccess::CountIds(manager()), 0U);
}

TEST_F(TheTreeUtility, RemovesNullEntries)
{
    const Scenario loose("top(null, a(null, b, null))");
    utility.RemoveSubtree(loose["a"], true);
    EXPECT_EQ(Describe(*loose.GetRoot()), "top(null)");
    utility.RemoveChildren(loose.GetRootInner(), true);
    EXPECT_EQ(Describe(*loose.GetRoot()), "top()");
    EXPECT_EQ(told(), "b < a 2, a < top 2");
}

TEST_F(TheTreeUtility, RemovesWhatAnotherThreadHasLocked)
{
    build("root(a(b, c))");
    handle.Release();
    auto other = lockElsewhere([&] { return manager().GetSingleReadHandleLocked(node("b")); });
    utility.RemoveSubtree(node("a"), true);
    EXPECT_EQ(describe(), "root()");
    EXPECT_EQ(recorder.Take().size(), 3U);
    EXPECT_EQ(TestAccess::CountIds(manager()), 1U);
    EXPECT_FALSE(manager().IsNodeInDataManager(node("c")));
    EXPECT_TRUE(manager().IsNodeInDataManager(node("b"))) << "as long as it is locked";

    other.Release();
    for (const char* name : {"b", "a"}) {
        handle = manager().GetWriteHandle(node(name));
        EXPECT_TRUE(dataManager.RemoveNode(handle));
    }
}

TEST_F(TheTreeUtility, MergesByMatricesBitForBit)
{
    std::mt19937 random(20240805);
    const Scenario nodes("root(a(b, c), d(e), f(g))");
    const CbMatrix4Rd b = RandomPose(random);
    const CbMatrix4Rd c = RandomSparse(random);
    nodes["b"]->SetRelativeTrafo(b);
    nodes["c"]->SetRelativeTrafo(c);
    utility.MergeInnerNodes(nodes.GetInner("a"), nodes.GetInner("d"), c_matIdentityD, false);
    EXPECT_THAT(nodes["c"]->GetRelativeTrafo(), HasBitsOf(c));
    // A matrix that is changed by the merge itself.
    utility.MergeInnerNodes(nodes.GetInner("d"), nodes.GetInner("f"),
                            nodes["b"]->GetRelativeTrafo(), false);
    EXPECT_THAT(nodes["b"]->GetRelativeTrafo(), HasBitsOf(Compose(b, b)));
    EXPECT_THAT(nodes["c"]->GetRelativeTrafo(), HasBitsOf(Compose(c, b)));
}

// A place that a node has left for another father, and null entries.
TEST_F(TheTreeUtility, LeavesNodesWithTheirFathers)
{
    const auto buildOdd = [&] {
        Scenario odd("root(a(b(c, null), d), e(f(g), null), h(i))");
        manager().ExchangeChild(odd.GetInner("h"), odd["i"], odd["f"]);
        return odd;
    };
    auto odd = buildOdd();
    TestAccess::Children(*odd.GetInner("e")).Append({odd["b"]}); // walks find a leaf there
    const auto since = TestAccess::NextGlobalNodeRevision();
    utility.MergeInnerNodes(odd.GetInner("e"), odd.GetInner("h"), Shift(1, 2, 3), true);
    EXPECT_EQ(RenewalOrder(odd.GetRoot(), since), "root") << "nothing came to h";
    EXPECT_EQ(Describe(*odd.GetRoot()), "root(a(b(c, null), d), h(f(g)))");
    EXPECT_EQ(Describe(*odd["e"]), "e()");
    EXPECT_EQ(recorder.Take(), std::vector<std::string>{"structure e < root 2"});
    EXPECT_EQ(odd["f"]->GetRelativeTrafo(), c_matIdentityD);

    odd = buildOdd();
    utility.CollapseAll(odd.GetInner("e"), false);
    EXPECT_EQ(Describe(*odd.GetRoot()), "root(a(b(c, null), d), e(), h(f(g)))");
    utility.CollapseAll(odd.GetRootInner(), false);
    EXPECT_EQ(odd.GetRootInner()->GetNrChildren(), 3U);
    odd = buildOdd();
    utility.NormalizeTreeStructure(odd.GetRootInner(), 2, false);
    EXPECT_EQ(Describe(*odd.GetRoot()), "root(ClusterDummy(c, d), Inner(g))");

    odd = buildOdd();
    EXPECT_EQ(Describe(*utility.CopySubtree(odd["e"], EWhat::Properties, nullptr, false)),
              "e(f(g))");
    for (const char* above : {"h", "e"}) { // both lead to it
        EXPECT_THROW(manager().MoveNodes(odd.GetInner("f"), {odd[above]}), CbException);
    }
    manager().MoveNodes(odd.GetInner("e"), {odd["f"], odd["c"]});
    EXPECT_EQ(Describe(*odd.GetRoot()), "root(a(b(), d), e(null, f(g), c), h())");
}

TEST_F(TheTreeUtility, MovesManyNodesAtOnce)
{
    build("root(a(b, c(d)), e(f))");
    const Scenario loose("top(x(y), z)", Scenario::EBuilder::Manager);
    const auto describeBoth = [&] { return describe() + Describe(*loose.GetRoot()); };
    const Inner a = inner("a");
    const Node f = node("f");
    for (const auto& nodes : {std::vector{f, f}, {f, nullptr}, {f, node("root")}, {f, Node(a)}}) {
        EXPECT_THROW(manager().MoveNodes(a, nodes), CbException);
        EXPECT_THROW(manager().ReplaceChildren(a, nodes), CbException);
    }
    EXPECT_THROW(manager().MoveNodes(inner("c"), {f, a}), CbException);
    EXPECT_THROW(manager().MoveNodes(nullptr, {}), CbException);
    EXPECT_EQ(describeBoth(), "root(a(b, c(d)), e(f))top(x(y), z)");

    manager().MoveNodes(a, {loose["x"], f, node("b")}); // in, across and to the end
    EXPECT_EQ(describeBoth(), "root(a(c(d), x(y), f, b), e())top(z)");
    EXPECT_TRUE(manager().IsNodeInDataManager(loose["y"]));
    manager().ReplaceChildren(loose.GetRootInner(), {node("d"), node("e")}); // out
    EXPECT_EQ(describeBoth(), "root(a(c(), x(y), f, b))top(d, e())");
    EXPECT_FALSE(manager().IsNodeInDataManager(node("d")));
    EXPECT_FALSE(manager().GetNodeByID(loose["z"]->GetID()));
    EXPECT_TRUE(manager().IsValid());

    const Scenario wide("root(a(), b(p), c(q), d(r), e(s))");
    const auto since = TestAccess::NextGlobalNodeRevision();
    manager().MoveNodes(wide.GetInner("a"), {wide["s"], wide["q"], wide["p"], wide["r"]});
    EXPECT_EQ(RenewalOrder(wide.GetRoot(), since), "e c b d a");
}

TEST_F(TheTreeUtility, TakesTreesOfAnyDepth)
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
    const auto copy = InnerOf(utility.CopySubtree(root, EWhat::PropertiesAndModel, nullptr, false));
    utility.NormalizeTreeStructure(copy, 2, false);
    utility.CollapseAll(copy, false);
    EXPECT_EQ(copy->GetNrChildren(), depth - 1);
    (void)recorder.Take();

    for (int i = 0; i < 2; ++i) manager().AppendChild(bottom, manager().CreateLeafNode(nullptr));
    Inner top = root;
    EXPECT_EQ(utility.PrepareForNextChild(bottom, 2, top)->GetNrChildren(), 0U);
    EXPECT_EQ(recorder.Take().size(), depth + 2); // a new top, its old one, and a branch
    utility.RemoveSubtree(top, true);
    EXPECT_EQ(recorder.Take().size(), 3 * depth + 2);
    EXPECT_EQ(TestAccess::CountIds(manager()), depth + 1); // above, and the copy
    EXPECT_TRUE(manager().IsValid());
}

} // namespace
