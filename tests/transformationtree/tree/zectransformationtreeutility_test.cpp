#include "platform/base/cbexception.h"
#include "tests/support/managerfixture.h"
#include "tests/support/messagerecorder.h"
#include "tests/support/scenario.h"
#include "tests/support/treematrices.h"
#include "transformationtree/tree/zectransformationtreeutility.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <functional>
#include <gmock/gmock.h>
#include <optional>
#include <stdexcept>
#include <thread>

namespace
{

using Verb = std::function<void()>;

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

    // Asks for room and marks the node that is returned. An old top is described "old" then.
    void prepare(const std::string& at, unsigned int maxChildren, const std::string& top)
    {
        Inner topNode = inner(top);
        const Inner place = utility.PrepareForNextChild(inner(at), maxChildren, topNode);
        if (topNode != inner(top)) node(top)->SetDescription(CB_TEXT("old"));
        EXPECT_EQ(topNode->GetDescription(), CString::FromUtf8(top));
        if (place) place->SetDescription(place->GetDescription() + CString(CB_TEXT("!")));
    }
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
    const auto room = [&](const char* at, unsigned int maxChildren, const char* top) {
        return [=, this] { prepare(at, maxChildren, top); };
    };
    const auto remove = [&](const char* top) {
        return [=, this] { utility.RemoveSubtree(node(top), true); };
    };
    const auto removeChildren = [&](const char* top) {
        return [=, this] { utility.RemoveChildren(inner(top), true); };
    };
    const Verb removeSilently = [&] { utility.RemoveSubtree(*inner("root")->BeginChild(), false); };
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
        // Room in the node itself, in the father, and further above.
        {room("a", 3, "top"), "root(top(a(b, c)))", "root(top(a!(b, c)))", "", ""},
        {room("a", 1, "top"), "root(top(a()))", "root(top(a!()))", "", ""},
        {room("a", 3, "top"), "root(top(a(b, c, d)))", "root(top(a(b, c, d), Inner!()))",
         "Inner! < top 1", "Inner! top"},
        {room("b", 2, "top"), "root(e, top(a(b(c, d), f)))",
         "root(e, top(a(b(c, d), f), Inner(Inner!())))", "Inner < top 1, Inner! < Inner 1",
         "top Inner! Inner"},
        // A full top.
        {room("top", 2, "top"), "root(c, top(a, b), d)", "root(c, top(old(a, b), Inner!()), d)",
         "top < old 5, old < top 3, Inner! < top 1", "root Inner! top"},
        {room("b", 2, "top"), "root(top(a(b(c, d), e), f))",
         "root(top(old(a(b(c, d), e), f), Inner(Inner(Inner!()))))",
         "top < old 5, old < top 3, Inner < top 1, Inner < Inner 1, Inner! < Inner 1",
         "root top Inner Inner! Inner"},
        // No room: not in a new top either, none anywhere, no father, and another branch.
        {room("a", 1, "top"), "root(top(a(b)))", "root(top(a(b)))", "", ""},
        {room("a", 0, "top"), "root(top(a()))", "root(top(a()))", "", ""},
        {room("a", 2, "root"), "root(a(b, c), d)", "root(a(b, c), d)", "", ""},
        {room("a", 2, "top"), "root(a(b, c), top())", "root(a(b, c), top())", "", ""},
        {remove("a"), "root(a(b(c(d), e()), f), g)", "root(g)",
         "d < c 2, c < b 2, e < b 2, b < a 2, f < a 2, a < root 2", "root"},
        {removeSilently, "root(a(b), c)", "root(c)", "", "root"},
        {removeNull, "root(a)", "root(a)", "", ""},
        {removeChildren("a"), "root(a(b(c), d))", "root(a())", "c < b 2, b < a 2, d < a 2", "a"},
        {removeChildren("a"), "root(a())", "root(a())", "", ""},
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

TEST_F(TheTreeUtility, RefusesWhatIsMissingBeforeItDoesAnything)
{
    build("root(a)");
    Inner top = inner("root");
    EXPECT_FALSE(utility.PrepareForNextChild(nullptr, 2, top));
    Inner noTop;
    EXPECT_EQ(utility.PrepareForNextChild(top, 2, noTop), top);
    EXPECT_FALSE(utility.PrepareForNextChild(top, 1, noTop)) << "no level is grown";
    EXPECT_THROW(utility.CreateLeaf(top, ModelNamed("b"), nullptr), CbException);
    EXPECT_THROW(utility.CreateLeafAndReplace(nullptr, ModelNamed("b")), CbException);
    EXPECT_THROW(utility.RemoveChildren(nullptr, true), CbException);
    EXPECT_THROW(utility.ClearAndRemoveChildren(nullptr, true), CbException);
    EXPECT_EQ(describe(), "root(a)");
    EXPECT_EQ(TestAccess::CountIds(manager()), 2U);
}

// Fathers are renewed as if the nodes had gone one after the other.
TEST_F(TheTreeUtility, RenewsTheFathersThatLoseChildren)
{
    build("root(a(b(c, d), e()))");
    const long long before = node("root")->GetNodeRevisionSubtree(3);
    utility.RemoveSubtree(node("a"), false);
    const auto revisionOf = [&](const char* name) { return node(name)->GetNodeRevision(1); };
    EXPECT_LT(before, revisionOf("b"));
    EXPECT_LT(revisionOf("b"), revisionOf("a"));
    EXPECT_LT(revisionOf("a"), revisionOf("root"));
    EXPECT_LE(revisionOf("e"), before);
    for (const char* name : {"a", "b", "c", "d", "e"}) {
        EXPECT_FALSE(node(name)->GetFather());
        EXPECT_EQ(std::ranges::distance(node(name)->Nodes()), 1) << name;
    }
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
    Manager::ReadHandle other;
    std::thread([&] {
        other = manager().GetReadHandle(node("b"));
        EXPECT_TRUE(manager().TryLock());
    }).join();
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

} // namespace
