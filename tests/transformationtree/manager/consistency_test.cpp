// The manager's checks find each thing that may be wrong, and nothing else.

#include "platform/base/cbstreamwriteascii.h"
#include "tests/support/rounds.h"
#include "tests/support/scenario.h"

#include <gtest/gtest.h>
#include <random>
#include <set>
#include <sstream>

namespace
{

using Manager = ZeCTransformationNodeManager;

Manager& manager() { return CbSingleton<Manager>::GetInstance(); }

// A managed tree that may be spoiled: whatever it looks like, it goes with the data manager.
struct Managed
{
    explicit Managed(const char* text)
    {
        EXPECT_TRUE(dataManager.InsertNode(dataManager.GetTopNode(), dataNode));
        EXPECT_TRUE(manager().SetDataManager(dataManager, dataNode));
        tree = Scenario(text, Scenario::EBuilder::Manager);
        manager().SetRootNode(tree.GetRootInner());
        lock = manager().GetSingleWriteHandleLocked(tree.GetRoot());
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
    [[nodiscard]] auto& IdMap() const { return TestAccess::IdMap(manager()); }
    void MoveData(const Node& node, const CbSmartPointer<CyNode>& newFather) const
    {
        auto handle = manager().GetWriteHandle(node);
        managed.dataManager.MoveNode(handle, newFather).Acknowledge();
    }
};

struct Corruption
{
    const char* name;
    void (*spoil)(const Spot&);
    std::set<std::string> invalid; ///< the nodes that are not valid by themselves
    bool valid = false;            ///< all together
};

const std::set<std::string> c_all = {"root", "one", "a", "b", "two", "c", "d"};

CyUniqueID newId()
{
    CyUniqueID id;
    id.Renew();
    return id;
}

const Corruption c_corruptions[] = {
    {"nothing", [](const Spot&) {}, {}, true},
    {"the child names another father",
     [](const Spot& at) { TestAccess::SetFather(*at.child, at.otherFather); },
     {"a", "one"}},
    {"the child names no father",
     [](const Spot& at) { TestAccess::SetFather(*at.child, nullptr); },
     {"one"}},
    {"the father lost the child", [](const Spot& at) { at.Children().Erase(0); }, {"a"}},
    {"the father lists the child in place of its sibling",
     [](const Spot& at) { at.Children().Replace(at.Children()->size() - 1, at.child); },
     {"b"}},
    {"the father lists the child twice",
     [](const Spot& at) { at.Children().Append({at.child}); },
     {},
     true},
    {"two fathers list the child",
     [](const Spot& at) { TestAccess::Children(*at.otherFather).Append({at.child}); },
     {"two"}},
    {"a null entry", [](const Spot& at) { at.Children().Append({nullptr}); }, {"one"}},
    {"no entry in the id map",
     [](const Spot& at) { manager().DeleteNode(at.child); },
     {"a", "one"}},
    {"the id map names another node",
     [](const Spot& at) { at.IdMap().Set(at.child->GetID(), at.sibling); },
     {"a", "one"}},
    {"the id map names a node under another id too",
     [](const Spot& at) { at.IdMap().Set(newId(), at.child); },
     {},
     true},
    {"the id map names a node under a foreign id only",
     [](const Spot& at) { at.IdMap().Set(newId(), CbMake<ZeCTransformationNodeLeaf>()); },
     {}},
    {"a tree outside the data manager",
     [](const Spot&) {
         manager().AppendChild(manager().CreateInnerNode(), manager().CreateLeafNode(nullptr));
     },
     {},
     true},
    {"the id map holds null", [](const Spot& at) { at.IdMap().Set(newId(), nullptr); }, {}},
    {"the label is not the id's text",
     [](const Spot& at) { at.child->SetName(CB_TEXT("child")); },
     {"a"}},
    {"the label is the id's text, set by hand",
     [](const Spot& at) { at.child->SetName(at.child->GetID().ToString()); },
     {},
     true},
    {"the label is another id's",
     [](const Spot& at) { at.child->SetName(at.sibling->GetID()); },
     {"a"}},
    {"the data node is below another one",
     [](const Spot& at) { at.MoveData(at.child, at.otherFather); },
     {"a", "one"}},
    {"the child alone is outside the data manager",
     [](const Spot& at) {
         auto handle = manager().GetWriteHandle(at.child);
         at.managed.dataManager.RemoveNode(handle).Acknowledge();
     },
     {"a", "one"}},
    {"the root hangs elsewhere",
     [](const Spot& at) {
         at.MoveData(at.managed.tree.GetRoot(), at.managed.dataManager.GetTopNode());
     },
     {}},
    {"no lock", [](const Spot& at) { at.managed.lock = {}; }, c_all},
    {"a lock on a part only",
     [](const Spot& at) {
         at.managed.lock = {};
         at.managed.lock = manager().GetSingleWriteHandleLocked(at.father);
     },
     {"root", "one", "two", "c", "d"}},
};

TEST(Consistency, IsFoundWantingWhereASingleThingIsWrong)
{
    EXPECT_TRUE(manager().IsValid()) << "no node at all";
    EXPECT_FALSE(manager().IsValid(nullptr));
    DestroySingleton<Manager>();
    for (const auto& [name, spoil, invalid, valid] : c_corruptions) {
        SCOPED_TRACE(name);
        Managed managed("root(one(a, b), two(c), d)");
        const auto& tree = managed.tree;
        spoil({managed, tree.GetInner("one"), tree["a"], tree["b"], tree.GetInner("two")});
        std::set<std::string> found;
        for (const auto& [description, node] : tree.GetNodes()) {
            if (!manager().IsValid(node)) found.insert(description);
        }
        EXPECT_EQ(found, invalid);
        EXPECT_EQ(manager().IsValid(), valid);
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
        for (const auto& [id, node] : TestAccess::IdMap(manager())) {
            expected = manager().IsValid(node) && expected;
        }
        EXPECT_EQ(manager().IsValid(), expected) << "round " << round;
        for (const auto& [description, node] : tree.GetNodes()) {
            if (!node->IsLeaf()) TestAccess::Children(*tree.GetInner(description)).Clear();
        }
    }
}

TEST(Consistency, OfTheDataManagerKnowsTreeNodesOnly)
{
    Managed managed("root(one(a), b)");
    const auto check = [&](const Node& top) {
        return TestAccess::AreInDataManager(manager(), CbSmartPointer<const CyNode>(top));
    };
    EXPECT_TRUE(check(managed.tree.GetRoot()));
    EXPECT_FALSE(check(nullptr));
    EXPECT_FALSE(check(manager().CreateInnerNode())) << "outside";
    EXPECT_TRUE(managed.dataManager.InsertNode(managed.tree["a"], CbMake<CyNode>()));
    EXPECT_FALSE(check(managed.tree.GetRoot())) << "the application's own";
    EXPECT_TRUE(check(managed.tree["b"]));
    managed.lock = {};
    EXPECT_FALSE(check(managed.tree["b"])) << "may not be read";
}

TEST(Consistency, OfARootThatLeftTheDataManager)
{
    Managed managed("root()");
    auto handle = manager().GetWriteHandle(managed.tree.GetRoot());
    ASSERT_TRUE(managed.dataManager.RemoveNode(handle));
    EXPECT_TRUE(manager().IsValid(managed.tree.GetRoot()));
    EXPECT_FALSE(manager().IsValid());
}

TEST(Consistency, DumpWritesALineForEachNode)
{
    const std::string head =
        "\n--------------------------------------------------------------------\n"
        "ZeCTransformationNodeManager:\n\n";
    const auto dump = [] {
        std::ostringstream sink;
        CbStreamWriteASCII stream(sink);
        TestAccess::Dump(manager(), stream);
        return sink.str();
    };
    EXPECT_EQ(dump(), head);
    const Managed managed("Root(Cluster 0(scan 1*, scan 2), empty(), M\xc3\xbcll)");
    EXPECT_EQ(dump(), head + "Root[leaf]\n Cluster 0[leaf]\n  scan 1[leaf]\n  scan 2[leaf]\n"
                             " empty[leaf]\n M\xc3\xbcll[leaf]\n");
}

} // namespace
