#include "platform/base/cbexception.h"
#include "tests/support/managerfixture.h"
#include "tests/support/messagerecorder.h"
#include "tests/support/scenario.h"
#include "tests/transformationtree/treematrices.h"
#include "transformationtree/zectransformationnodeiterators.h"
#include "transformationtree/zectransformationtreeutility.h"

#include <functional>
#include <gmock/gmock.h>
#include <optional>
#include <thread>

namespace
{

using testing::ElementsAreArray;
using Messages = std::vector<std::string>;

class Mark final : public ZeARTTIAttribute
{
public:
    static const CbRTTI RTTI;
    [[nodiscard]] const CbRTTI& GetRTTI() const override { return RTTI; }
    void Serialize(CbStreamWriteBinary& /*stream*/) const override {}
    void Serialize(CbStreamReadBinary& /*stream*/) override {}
    bool ResetAttribute() override { return wasReset = true; }

    bool wasReset = false;
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
    void rename(const std::string& name, const CString& description) const
    {
        node(name)->SetDescription(description);
    }

    // Asks for room below a node. The old top is described "old" from then on.
    Inner prepare(const std::string& at, unsigned int maxChildren, const std::string& top)
    {
        Inner topNode = inner(top);
        const Inner place = utility.PrepareForNextChild(inner(at), maxChildren, topNode);
        if (topNode != inner(top)) rename(top, CB_TEXT("old"));
        EXPECT_EQ(topNode->GetDescription(), CString::FromUtf8(top));
        if (place) place->SetDescription(place->GetDescription() + CString(CB_TEXT("!")));
        return place;
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
    const std::string shifted = " 1 0 0 0 0 1 0 0 0 0 1 0 1 2.5 0.1 1";
    const struct
    {
        const char* name;
        const char* before;
        std::function<void()> edit;
        const char* after;
        Messages messages;
    } rows[] = {
        {"a leaf",
         "root(a(b))",
         [&] { utility.CreateLeaf(inner("a"), ModelNamed("scan"), &shift); },
         "root(a(b, scan*))",
         {"trafo scan" + shifted}},
        {"no model",
         "root(a(b))",
         [&] { EXPECT_FALSE(utility.CreateLeaf(inner("a"), nullptr, nullptr)); },
         "root(a(b))",
         {}},
        {"another leaf in place of one",
         "root(a(b, old*, c))",
         [&] { utility.CreateLeafAndReplace(tree->GetLeaf("old"), nullptr); },
         "root(a(b, old, c))",
         {}},
        {"room",
         "root(top(a(b, c)))",
         [&] { EXPECT_EQ(prepare("a", 3, "top"), inner("a")); },
         "root(top(a!(b, c)))",
         {}},
        {"room in the father",
         "root(top(a(b, c, d)))",
         [&] { prepare("a", 3, "top"); },
         "root(top(a(b, c, d), Inner!()))",
         {"structure Inner! < top 1"}},
        {"room two levels above",
         "root(e, top(a(b(c, d), f)))",
         [&] { prepare("b", 2, "top"); },
         "root(e, top(a(b(c, d), f), Inner(Inner!())))",
         {"structure Inner < top 1", "structure Inner! < Inner 1"}},
        {"a full top",
         "root(c, top(a, b), d)",
         [&] { prepare("top", 2, "top"); },
         "root(c, top(old(a, b), Inner!()), d)",
         {"structure top < old 5", "structure old < top 3", "structure Inner! < top 1"}},
        {"a full top two levels above",
         "root(top(a(b(c, d), e), f))",
         [&] { prepare("b", 2, "top"); },
         "root(top(old(a(b(c, d), e), f), Inner(Inner(Inner!()))))",
         {"structure top < old 5", "structure old < top 3", "structure Inner < top 1",
          "structure Inner < Inner 1", "structure Inner! < Inner 1"}},
        {"room for one in a node that is empty",
         "root(top(a()))",
         [&] { EXPECT_EQ(prepare("a", 1, "top"), inner("a")); },
         "root(top(a!()))",
         {}},
        {"a full top and no room in a new one",
         "root(top(a(b)))",
         [&] { EXPECT_FALSE(prepare("a", 1, "top")); },
         "root(top(a(b)))",
         {}},
        {"no room anywhere",
         "root(top(a()))",
         [&] { EXPECT_FALSE(prepare("a", 0, "top")); },
         "root(top(a()))",
         {}},
        {"a full top without father",
         "root(a(b, c), d)",
         [&] { EXPECT_FALSE(prepare("a", 2, "root")); },
         "root(a(b, c), d)",
         {}},
        {"full nodes that are not below the top",
         "root(a(b, c), top())",
         [&] { EXPECT_FALSE(prepare("a", 2, "top")); },
         "root(a(b, c), top())",
         {}},
        {"a subtree",
         "root(a(b(c(d), e()), f), g)",
         [&] { utility.RemoveSubtree(node("a"), true); },
         "root(g)",
         {"structure d < c 2", "structure c < b 2", "structure e < b 2", "structure b < a 2",
          "structure f < a 2", "structure a < root 2"}},
        {"a subtree, silently",
         "root(a(b), c)",
         [&] { utility.RemoveSubtree(inner("root")->FrontChild(), false); },
         "root(c)",
         {}},
        {"null", "root(a)", [&] { utility.RemoveSubtree(nullptr, true); }, "root(a)", {}},
        {"children",
         "root(a(b(c), d))",
         [&] { utility.RemoveChildren(inner("a"), true); },
         "root(a())",
         {"structure c < b 2", "structure b < a 2", "structure d < a 2"}},
        {"no children",
         "root(a())",
         [&] { utility.RemoveChildren(inner("a"), true); },
         "root(a())",
         {}},
        {"children and attributes",
         "root(a(b))",
         [&] {
             const auto mark = CbMake<Mark>();
             node("a")->SetAttribute(mark);
             utility.ClearAndRemoveChildren(inner("a"), true);
             EXPECT_TRUE(mark->wasReset);
             EXPECT_TRUE(node("a")->GetAllAttributes().IsEmpty());
         },
         "root(a())",
         {"structure b < a 2"}},
        {"entries of another father",
         "root(a(b), c(d(e), f))",
         [&] {
             manager().ExchangeChild(inner("a"), node("b"), node("d"));
             manager().DeleteNode(node("b"));
             utility.RemoveSubtree(node("c"), true);
         },
         "root(a(d(e)))",
         {"structure f < c 2", "structure c < root 2"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        build(row.before);
        row.edit();
        EXPECT_EQ(describe(), row.after);
        EXPECT_THAT(recorder.Take(), ElementsAreArray(row.messages));
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
}

TEST_F(TheTreeUtility, LeavesTheRootInTheDataManager)
{
    build("root(a(b))");
    utility.RemoveSubtree(node("root"), true);
    EXPECT_THAT(recorder.Take(), ElementsAreArray({"structure b < a 2", "structure a < root 2",
                                                   "structure root < none 2"}));
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
    EXPECT_THAT(recorder.Take(), ElementsAreArray({"structure b < a 2", "structure a < top 2"}));
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

TEST_F(TheTreeUtility, TakesTreesOfAnyDepth)
{
    constexpr std::size_t depth = 100000;
    build("root()");
    // Nodes with two children each, from the bottom up.
    Inner bottom;
    Inner top;
    for (std::size_t i = 0; i < depth; ++i) {
        const Inner above = manager().CreateInnerNode();
        manager().AppendChild(above, top ? Node(top) : Node(manager().CreateLeafNode(nullptr)));
        manager().AppendChild(above, manager().CreateLeafNode(nullptr));
        if (!bottom) bottom = above;
        top = above;
    }
    manager().AppendChild(inner("root"), top);
    const Inner place = utility.PrepareForNextChild(bottom, 2, top);
    EXPECT_EQ(recorder.Take().size(), depth + 2);
    EXPECT_EQ(place->GetNrChildren(), 0U);
    EXPECT_EQ(TestAccess::CountIds(manager()), 3 * depth + 3);

    utility.RemoveSubtree(top, true);
    EXPECT_EQ(recorder.Take().size(), 3 * depth + 2);
    EXPECT_EQ(describe(), "root()");
    EXPECT_EQ(TestAccess::CountIds(manager()), 1U);
}

} // namespace
