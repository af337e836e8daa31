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

} // namespace
