// The manager's checks find each thing that may be wrong, and nothing else.

#include "platform/base/cbstreamwriteascii.h"
#include "tests/support/rounds.h"
#include "tests/support/scenario.h"

#include <gtest/gtest.h>
#include <random>
#include <sstream>

namespace
{

using Manager = ZeCTransformationNodeManager;

// A managed tree that may be spoiled: whatever it looks like, it goes with the data manager.
struct Managed
{
    explicit Managed(const char* text)
    {
        EXPECT_TRUE(dataManager.InsertNode(dataManager.GetTopNode(), dataNode));
        EXPECT_TRUE(TheManager().SetDataManager(dataManager, dataNode));
        tree = Scenario(text, Scenario::EBuilder::Manager);
        TheManager().SetRootNode(tree.GetRootInner());
        lock = TheManager().GetSingleWriteHandleLocked(tree.GetRoot());
    }
    ~Managed()
    {
        lock = {};
        DestroySingleton<Manager>();
    }

    CyDataManager dataManager;
    CbSmartPointer<CyNode> dataNode = CbMake<CyNode>();
    Scenario tree{"none"};
    Manager::WriteHandle lock;
};

struct Spot
{
    Managed& managed;
    Inner father;
    Node child; ///< the father's first
    Node sibling;
    Inner otherFather;

    [[nodiscard]] auto& Children() const { return TestAccess::Children(*father); }
    void NameFather(const Inner& other) const { TestAccess::SetFather(*child, other); }
    void Register(const CyUniqueID& id, const Node& node) const
    {
        TestAccess::IdMap(TheManager()).Set(id, node);
    }
    void MoveData(const Node& node, const CbSmartPointer<CyNode>& newFather) const
    {
        auto handle = TheManager().GetWriteHandle(node);
        managed.dataManager.MoveNode(handle, newFather).Acknowledge();
    }
    void RemoveData() const
    {
        auto handle = TheManager().GetWriteHandle(child);
        managed.dataManager.RemoveNode(handle).Acknowledge();
    }
    void LockOnly(const Node& node) const
    {
        managed.lock = {};
        managed.lock = TheManager().GetSingleWriteHandleLocked(node);
    }
    [[nodiscard]] Node Root() const { return managed.tree.GetRoot(); }
};

struct Corruption
{
    const char* name;
    void (*spoil)(const Spot&);
    std::string invalid; ///< the nodes that are not valid by themselves
    bool valid = false;  ///< all together
};

CyUniqueID newId()
{
    CyUniqueID id;
    id.Renew();
    return id;
}

void buildOutside()
{
    TheManager().AppendChild(TheManager().CreateInnerNode(), TheManager().CreateLeafNode(nullptr));
}

const Corruption c_corruptions[] = {
    {"nothing", [](const Spot&) {}, "", true},
    {"another father named", [](const Spot& at) { at.NameFather(at.otherFather); }, "a one "},
    {"no father named", [](const Spot& at) { at.NameFather(nullptr); }, "one "},
    {"the child not listed", [](const Spot& at) { at.Children().Erase(0); }, "a "},
    {"the child in its sibling's place",
     [](const Spot& at) { at.Children().Replace(at.Children()->size() - 1, at.child); }, "b "},
    {"listed twice", [](const Spot& at) { at.Children().Append({at.child}); }, "", true},
    {"listed by two fathers",
     [](const Spot& at) { TestAccess::Children(*at.otherFather).Append({at.child}); }, "two "},
    {"a null entry", [](const Spot& at) { at.Children().Append({nullptr}); }, "one "},
    {"no id registered", [](const Spot& at) { TheManager().DeleteNode(at.child); }, "a one "},
    {"the id leads to another node",
     [](const Spot& at) { at.Register(at.child->GetID(), at.sibling); }, "a one "},
    {"registered twice", [](const Spot& at) { at.Register(newId(), at.child); }, "", true},
    {"registered by another id only",
     [](const Spot& at) { at.Register(newId(), CbMake<ZeCTransformationNodeLeaf>()); }, ""},
    {"null registered", [](const Spot& at) { at.Register(newId(), nullptr); }, ""},
    {"a tree outside the data manager", [](const Spot&) { buildOutside(); }, "", true},
    {"a label", [](const Spot& at) { at.child->SetName(CB_TEXT("child")); }, "a "},
    {"a label that is the id's text",
     [](const Spot& at) { at.child->SetName(at.child->GetID().ToString()); }, "", true},
    {"another id's label", [](const Spot& at) { at.child->SetName(at.sibling->GetID()); }, "a "},
    {"data elsewhere", [](const Spot& at) { at.MoveData(at.child, at.otherFather); }, "a one "},
    {"data of the child missing", [](const Spot& at) { at.RemoveData(); }, "a one "},
    {"the root hangs elsewhere",
     [](const Spot& at) { at.MoveData(at.Root(), at.managed.dataManager.GetTopNode()); }, ""},
    {"no lock", [](const Spot& at) { at.managed.lock = {}; }, "a b c d one root two "},
    {"a lock on a part", [](const Spot& at) { at.LockOnly(at.father); }, "c d one root two "},
};

TEST(Consistency, IsFoundWantingWhereASingleThingIsWrong)
{
    EXPECT_TRUE(TheManager().IsValid()) << "no node at all";
    EXPECT_FALSE(TheManager().IsValid(nullptr));
    DestroySingleton<Manager>();
    for (const auto& [name, spoil, invalid, valid] : c_corruptions) {
        SCOPED_TRACE(name);
        Managed managed("root(one(a, b), two(c), d)");
        const auto& tree = managed.tree;
        spoil({managed, tree.GetInner("one"), tree["a"], tree["b"], tree.GetInner("two")});
        std::string found;
        for (const auto& [description, node] : tree.GetNodes()) {
            if (!TheManager().IsValid(node)) found += description + ' ';
        }
        EXPECT_EQ(found, invalid);
        EXPECT_EQ(TheManager().IsValid(), valid);
    }
}

TEST(Consistency, OfTheWholeIsThatOfEachNode)
{
    std::mt19937 random(7);
    for (int round = 0; round < Rounds(2000); ++round) {
        Managed managed("root(one(a, b), two(c, e(f, g)), d(h, i, j))");
        const auto& tree = managed.tree;
        for (auto times = random() % 3; times != 0; --times) {
            const char* const fathers[] = {"root", "one", "two", "e", "d"};
            const Inner father = tree.GetInner(fathers[random() % std::size(fathers)]);
            const auto& children = *TestAccess::Children(*father);
            if (children.empty() || !children.front() || !children.back()) continue;
            const auto& corruption = c_corruptions[random() % std::size(c_corruptions)];
            corruption.spoil({managed, father, children.front(), children.back(),
                              tree.GetInner(fathers[random() % std::size(fathers)])});
        }
        const auto parent = tree.GetRoot()->GetParent();
        bool expected = parent == managed.dataNode;
        for (const auto& [id, node] : TestAccess::IdMap(TheManager())) {
            expected = TheManager().IsValid(node) && expected;
        }
        EXPECT_EQ(TheManager().IsValid(), expected) << "round " << round;
        for (const auto& [description, node] : tree.GetNodes()) {
            if (!node->IsLeaf()) TestAccess::Children(*tree.GetInner(description)).Clear();
        }
    }
}

TEST(Consistency, OfTheDataManagerKnowsTreeNodesOnly)
{
    Managed managed("root(one(a), b)");
    const auto check = [&](const Node& top) {
        return TestAccess::AreInDataManager(TheManager(), CbSmartPointer<const CyNode>(top));
    };
    EXPECT_TRUE(check(managed.tree.GetRoot()));
    EXPECT_FALSE(check(nullptr));
    EXPECT_FALSE(check(TheManager().CreateInnerNode())) << "outside";
    EXPECT_TRUE(managed.dataManager.InsertNode(managed.tree["a"], CbMake<CyNode>()));
    EXPECT_FALSE(check(managed.tree.GetRoot())) << "the application's own";
    EXPECT_TRUE(check(managed.tree["b"]));
    managed.lock = {};
    EXPECT_FALSE(check(managed.tree["b"])) << "may not be read";
}

TEST(Consistency, OfARootThatLeftTheDataManager)
{
    Managed managed("root()");
    auto handle = TheManager().GetWriteHandle(managed.tree.GetRoot());
    ASSERT_TRUE(managed.dataManager.RemoveNode(handle));
    EXPECT_TRUE(TheManager().IsValid(managed.tree.GetRoot()));
    EXPECT_FALSE(TheManager().IsValid());
}

TEST(Consistency, DumpWritesALineForEachNode)
{
    const std::string head =
        "\n--------------------------------------------------------------------\n"
        "ZeCTransformationNodeManager:\n\n";
    const auto dump = [] {
        std::ostringstream sink;
        CbStreamWriteASCII stream(sink);
        TestAccess::Dump(TheManager(), stream);
        return sink.str();
    };
    EXPECT_EQ(dump(), head);
    const Managed managed("Root(Cluster 0(scan 1*, scan 2), empty(), M\xc3\xbcll)");
    EXPECT_EQ(dump(), head + "Root[leaf]\n Cluster 0[leaf]\n  scan 1[leaf]\n  scan 2[leaf]\n"
                             " empty[leaf]\n M\xc3\xbcll[leaf]\n");
}

} // namespace
