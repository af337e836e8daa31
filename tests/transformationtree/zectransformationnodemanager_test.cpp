// Link to the data manager, creation, root and the special cases of edits.

#include "platform/base/cbexception.h"
#include "tests/support/managerfixture.h"
#include "tests/support/scenario.h"

#include <functional>
#include <gmock/gmock.h>
#include <thread>

namespace
{

using testing::HasSubstr;

class NodeManager : public NodeManagerTest
{
protected:
    // A tree built by the manager, with its top as root.
    static Scenario rootedTree(std::string_view text)
    {
        Scenario tree(text, Scenario::EBuilder::Manager);
        manager().SetRootNode(tree.GetRootInner());
        return tree;
    }
    static Scenario looseTree(std::string_view text)
    {
        return Scenario(text, Scenario::EBuilder::Manager);
    }
    static bool isRegistered(const Node& node)
    {
        return manager().GetNodeByID(node->GetID()) == node;
    }
};

// What an edit threw: "line function", or empty.
std::string thrownBy(const std::function<void()>& edit)
{
    try {
        edit();
    } catch (const CbException& exception) {
        EXPECT_EQ(exception.GetFile(), "zectransformationnodemanager");
        return std::to_string(exception.GetLine()) + ' ' + exception.GetFunction();
    }
    return {};
}

TEST_F(NodeManager, IsLinkedOnceToANodeOfTheDataManagerItself)
{
    ASSERT_TRUE(manager().UnsetDataManager());
    EXPECT_THROW((void)manager().GetDataManager(), CbException);
    CyDataManager other;
    const auto outside = CbMake<CyNode>();

    EXPECT_FALSE(manager().SetDataManager(dataManager, nullptr));
    EXPECT_FALSE(manager().SetDataManager(dataManager, outside));
    EXPECT_FALSE(manager().SetDataManager(dataManager, other.GetTopNode()));
    EXPECT_THROW((void)manager().GetDataManager(), CbException);
    EXPECT_TRUE(manager().SetDataManager(dataManager, dataNode));
    EXPECT_FALSE(manager().SetDataManager(other, other.GetTopNode()));
    EXPECT_EQ(&manager().GetDataManager(), &dataManager);

    const auto tree = rootedTree("root(leaf)");
    EXPECT_FALSE(manager().UnsetDataManager());
    EXPECT_EQ(&manager().GetDataManager(), &dataManager);
    EXPECT_EQ(manager().GetDataNode(tree["leaf"]), tree["leaf"]);
    EXPECT_FALSE(manager().GetDataNode(Node()));
    EXPECT_FALSE(manager().GetDataNode(Node(manager().CreateInnerNode())));
}

TEST_F(NodeManager, RegistersWhatItCreates)
{
    const auto model = CbMake<ZeCModelQMT>();
    const auto leaf = manager().CreateLeafNode(model);
    EXPECT_EQ(leaf->GetModel(), model);
    EXPECT_TRUE(isRegistered(leaf));
    EXPECT_FALSE(leaf->GetFather());
    EXPECT_FALSE(manager().IsNodeInDataManager(leaf));

    const auto collection = CbMake<ZeCSurfelCollectionQMT>();
    const auto scan = manager().CreateLeafNodeFromSurfelCollection(collection)->GetModel();
    using Type = ZeCModelQMT::ESurfelCollectionType;
    EXPECT_EQ(scan->GetSurfelCollection(Type::Standard), collection);
    EXPECT_EQ(scan->GetSurfelCollection(Type::Accurate), collection);

    const auto root = manager().CreateRootNode();
    EXPECT_EQ(root->GetDescription().ToUtf8(), "Root");
    EXPECT_EQ(manager().GetRootNode(), root);
    EXPECT_EQ(root->GetParent(), dataNode);

    manager().DeleteNode(leaf);
    manager().DeleteNode(leaf);
    manager().DeleteNode(nullptr);
    EXPECT_FALSE(manager().GetNodeByID(leaf->GetID()));
    EXPECT_FALSE(manager().GetNodeByID(ZeCTransformationNode::GetInvalidID()));
}

TEST_F(NodeManager, RefusesRoots)
{
    const std::string refused = "1223 ZeCTransformationNodeManager::SetRootNode";
    const auto set = [](const Inner& node) {
        return thrownBy([&] { manager().SetRootNode(node); });
    };
    const auto loose = looseTree("top(below())");
    EXPECT_EQ(set(nullptr), refused);
    EXPECT_EQ(set(loose.GetInner("below")), refused);
    const auto tree = rootedTree("root(cluster())");
    EXPECT_EQ(set(loose.GetRootInner()), refused);
    EXPECT_EQ(set(tree.GetRootInner()), refused);
    EXPECT_EQ(manager().GetRootNode(), tree.GetRoot());
    unsetRoot();

    ASSERT_TRUE(manager().UnsetDataManager());
    EXPECT_EQ(set(loose.GetRootInner()), "1231 ZeCTransformationNodeManager::SetRootNode");
    EXPECT_EQ(set(nullptr), refused);
    ASSERT_TRUE(manager().SetDataManager(dataManager, dataNode));
    {
        CyDataHandleLockOnly<1> handle(dataManager, dataNode);
        ASSERT_TRUE(dataManager.RemoveNode(handle));
    }
    EXPECT_EQ(set(loose.GetRootInner()), "1231 ZeCTransformationNodeManager::SetRootNode");
    EXPECT_FALSE(manager().GetRootNode());
    EXPECT_FALSE(manager().IsNodeInDataManager(loose.GetRoot()));
}

TEST_F(NodeManager, ARootThatCannotBeSetLeavesNoIdBehind)
{
    ASSERT_TRUE(manager().UnsetDataManager());
    EXPECT_EQ(thrownBy([] { (void)manager().CreateRootNode(); }),
              "1231 ZeCTransformationNodeManager::SetRootNode");
    EXPECT_EQ(TestAccess::CountIds(manager()), 0U);
}

TEST_F(NodeManager, UnsettingTheRootNeedsItsWriteLock)
{
    const auto tree = rootedTree("root(cluster(leaf))");
    const auto expectKept = [&] {
        manager().UnsetRootNode();
        EXPECT_EQ(manager().GetRootNode(), tree.GetRoot());
        EXPECT_EQ(Describe(*tree.GetRoot()), "root(cluster(leaf))");
        EXPECT_EQ(tree["leaf"]->GetDataManager(), &dataManager);
        EXPECT_TRUE(isRegistered(tree["leaf"]));
    };
    expectKept();
    {
        const auto handle = manager().GetSingleReadHandleLocked(tree.GetRoot());
        expectKept();
    }
    {
        const auto handle = manager().GetSingleWriteHandleLocked(tree["cluster"]);
        expectKept();
    }
    const auto revision = tree.GetRoot()->GetNodeRevisionSubtree(3);
    {
        // A lock above covers the root too.
        CyDataHandleLockOnly<1> handle(dataManager, dataNode);
        ASSERT_TRUE(manager().TryLock());
        manager().UnsetRootNode();
    }
    EXPECT_FALSE(manager().GetRootNode());
    for (const char* name : {"root", "cluster", "leaf"}) {
        EXPECT_FALSE(isRegistered(tree[name])) << name;
        EXPECT_FALSE(tree[name]->GetFather()) << name;
        EXPECT_EQ(tree[name]->GetDataManager(), nullptr) << name;
        EXPECT_LE(tree[name]->GetNodeRevision(3), revision) << name;
    }
    EXPECT_EQ(Describe(*tree["cluster"]), "cluster()");
}

TEST_F(NodeManager, GoesAtExitWithTheRootSet)
{
    for (const bool lockedElsewhere : {false, true}) {
        SCOPED_TRACE(lockedElsewhere);
        const auto tree = rootedTree("root(cluster(leaf))");
        CyDataHandleLockOnly<1> handle;
        if (lockedElsewhere) {
            std::thread([&] {
                handle = manager().GetWriteHandle(tree["leaf"]);
                EXPECT_TRUE(manager().TryLock());
            }).join();
        }
        TestAccess::DestroySingleton<Manager>();
        // Nobody is waited for; what is locked by another thread stays.
        EXPECT_EQ(tree.GetRoot()->GetDataManager(), lockedElsewhere ? &dataManager : nullptr);
        EXPECT_EQ(tree["leaf"]->GetFather() != nullptr, lockedElsewhere);
        handle = {};
        if (lockedElsewhere) {
            for (const char* name : {"leaf", "cluster", "root"}) {
                handle = CyDataHandleLockOnly<1>(dataManager, tree[name]);
                EXPECT_TRUE(dataManager.RemoveNode(handle));
            }
        }
        ASSERT_TRUE(manager().SetDataManager(dataManager, dataNode));
    }
}

TEST_F(NodeManager, EditsThatWouldHarmTheTreeChangeNothing)
{
    const std::string before = "root(a(b(c, d()), e), f())";
    const auto tree = rootedTree(before);
    const auto loose = looseTree("top(below(x), y)");
    const Inner none;
    const Inner root = tree.GetRootInner();
    const Inner a = tree.GetInner("a");
    const Inner b = tree.GetInner("b");
    const Inner d = tree.GetInner("d");
    const Inner f = tree.GetInner("f");
    const auto insert = "279 ZeCTransformationNodeManager::InsertChild";
    const auto exchange = "ZeCTransformationNodeManager::ExchangeChild";
    const auto replace = "ZeCTransformationNodeManager::ReplaceChild";
    const auto move = "ZeCTransformationNodeManager::MoveNode";
    const struct
    {
        const char* name;
        std::function<void()> edit;
        std::string thrown;
    } rows[] = {
        {"child of another father", [&] { manager().AppendChild(f, tree["e"]); }, insert},
        {"inserted below itself", [&] { manager().AppendChild(f, f); }, insert},
        {"root as a child", [&] { manager().AppendChild(loose.GetRootInner(), root); }, insert},
        {"no father", [&] { manager().AppendChild(none, loose.GetRoot()); }, insert},
        {"no child", [&] { manager().AppendChild(f, nullptr); }, insert},
        {"exchanged by null", [&] { manager().ExchangeChild(b, d, nullptr); }, exchange},
        {"exchanged without father", [&] { manager().ExchangeChild(none, d, f); }, exchange},
        {"exchanged by a sibling", [&] { manager().ExchangeChild(a, b, tree["e"]); }, exchange},
        {"exchanged by the root", [&] { manager().ExchangeChild(b, d, root); }, exchange},
        {"replaced by a sibling", [&] { manager().ReplaceChild(a, b, tree["e"]); }, replace},
        {"replaced from below", [&] { manager().ReplaceChild(a, b, tree["c"]); }, replace},
        {"moved below itself", [&] { manager().MoveNode(d, a, nullptr); }, move},
        {"moved into itself", [&] { manager().MoveNode(d, d, nullptr); }, move},
        {"moved root", [&] { manager().MoveNode(loose.GetRootInner(), root, nullptr); }, move},
        {"moved nowhere", [&] { manager().MoveNode(none, d, nullptr); }, move},
        {"moved nothing", [&] { manager().MoveNode(d, nullptr, nullptr); }, move},
        // These are no errors.
        {"removed from nowhere", [&] { manager().RemoveChild(none, d); }, ""},
        {"removed, but no child", [&] { manager().RemoveChild(root, d); }, ""},
        {"replaced, but no child", [&] { manager().ReplaceChild(root, d, nullptr); }, ""},
        {"replaced by itself", [&] { manager().ReplaceChild(b, d, d); }, ""},
        {"appended again", [&] { manager().AppendChild(root, a); }, ""},
    };
    const auto revision = root->GetNodeRevisionSubtree(3);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string thrown = thrownBy(row.edit);
        if (row.thrown.empty()) {
            EXPECT_EQ(thrown, "");
        } else {
            EXPECT_THAT(thrown, HasSubstr(row.thrown));
        }
        EXPECT_EQ(Describe(*root), before);
        EXPECT_EQ(Describe(*loose.GetRoot()), "top(below(x), y)");
        EXPECT_EQ(root->GetNodeRevisionSubtree(3), revision);
        EXPECT_EQ(tree["d"]->GetParent(), b);
        EXPECT_FALSE(manager().IsNodeInDataManager(loose["x"]));
    }
}

TEST_F(NodeManager, AMovedNodeKeepsItsPlaceInTheDataManagerAndItsLocks)
{
    const auto tree = rootedTree("root(a(b(c)), d())");
    const auto handle = manager().GetWriteHandle(tree.GetRoot());
    const auto deep = manager().GetReadHandle(tree["c"]);
    ASSERT_TRUE(manager().TryLock());
    manager().MoveNode(tree.GetInner("d"), tree["b"], nullptr);
    EXPECT_TRUE(deep.IsValid()); // a node that had left would have lost its lock
    EXPECT_EQ(tree["b"]->GetParent(), tree["d"]);
    EXPECT_EQ(Describe(*tree.GetRoot()), "root(a(), d(b(c)))");
}

TEST_F(NodeManager, AnExchangedNodesOldPlaceIsOnlyErased)
{
    const auto tree = rootedTree("root(a(x(y)), b(z), c())");
    manager().ExchangeChild(tree.GetInner("b"), tree["z"], tree["x"]);
    EXPECT_EQ(Describe(*tree.GetRoot()), "root(a(!x), b(x(y)), c())");
    EXPECT_EQ(tree["y"]->GetParent(), tree["x"]);
    EXPECT_EQ(tree["x"]->GetParent(), tree["b"]);
    EXPECT_TRUE(isRegistered(tree["z"]));
    EXPECT_FALSE(tree["z"]->GetFather());

    // Walks down that follow all entries would not end.
    EXPECT_NE(thrownBy([&] { manager().MoveNode(tree.GetInner("x"), tree["a"], nullptr); }), "");

    manager().RemoveChild(tree.GetInner("a"), tree["x"]);
    EXPECT_EQ(Describe(*tree.GetRoot()), "root(a(), b(x(y)), c())");
    EXPECT_EQ(tree["x"]->GetParent(), tree["b"]);
    manager().MoveNode(tree.GetInner("x"), tree["a"], nullptr);
}

TEST_F(NodeManager, EditsOfTreesThatWereReadBadlyEnd)
{
    const auto tree = looseTree("root(a, b())");
    LinkByHand(tree.GetRootInner(), nullptr);
    TestAccess::Children(*tree.GetInner("b")).push_back(nullptr);
    manager().SetRootNode(tree.GetRootInner());
    manager().RemoveChild(tree.GetRootInner(), nullptr);
    EXPECT_EQ(Describe(*tree.GetRoot()), "root(a, b(null))");

    // A father that lost its list while it was read.
    const Node lost = tree["a"];
    TestAccess::Children(*tree.GetRootInner()).erase(tree.GetRootInner()->BeginChild());
    manager().MoveNode(tree.GetInner("b"), lost, lost);
    EXPECT_EQ(Describe(*tree.GetRoot()), "root(b(null, a))");
    manager().RemoveChild(tree.GetRootInner(), tree["b"]);
    EXPECT_EQ(lost->GetDataManager(), nullptr);
}

// A chain as deep as it may be: built in the data manager, walked, taken out and destroyed.
void buildAndDestroyChain(ZeCTransformationNodeManager& manager)
{
    constexpr int depth = 100000;
    const Inner root = manager.CreateRootNode();
    const Inner first = manager.CreateInnerNode();
    Inner last = first;
    for (int i = 1; i < depth / 2; ++i) {
        const Inner next = manager.CreateInnerNode();
        manager.AppendChild(last, next);
        last = next;
    }
    manager.AppendChild(root, first);
    for (int i = depth / 2; i < depth; ++i) {
        const Inner next = manager.CreateInnerNode();
        manager.AppendChild(last, next);
        last = next;
    }
    EXPECT_TRUE(last->GetParent());
    EXPECT_EQ(root->BackNode(), last);
    EXPECT_EQ(root->GetNrLeafNodes(), 0U);
    last->NewNodeRevision(1);
    EXPECT_EQ(root->GetNodeRevisionSubtree(3), last->GetNodeRevision(3));
    root->UpdateNodeRevisionSubtree(nullptr);
    EXPECT_EQ(root->GetNodeRevision(3), last->GetNodeRevision(3));

    manager.RemoveChild(root, first);
    EXPECT_EQ(last->GetDataManager(), nullptr);
    manager.AppendChild(root, first);
    manager.ExchangeChild(root, first, manager.CreateInnerNode());
    manager.MoveNode(root, first, root->FrontChild());
    EXPECT_EQ(root->GetNrChildren(), 2U);
    EXPECT_EQ(TestAccess::CountIds(manager), depth + 2U);
    manager.ReplaceChild(root, first, manager.CreateInnerNode());
    EXPECT_EQ(TestAccess::CountIds(manager), 3U);
}

TEST_F(NodeManager, KeepsChainsOfAnyDepth)
{
    buildAndDestroyChain(manager());
    unsetRoot();
    std::thread([] {
        buildAndDestroyChain(manager());
        unsetRoot();
    }).join();
    // A chain that only the first node keeps.
    CbWeakPointer<ZeCTransformationNode> end;
    {
        const Inner first = manager().CreateInnerNode();
        Inner last = first;
        for (int i = 0; i < 100000; ++i) {
            const Inner next = manager().CreateInnerNode();
            manager().AppendChild(last, next);
            manager().DeleteNode(next);
            last = next;
        }
        end = last;
        manager().DeleteNode(first);
        EXPECT_TRUE(end.Lock());
    }
    EXPECT_FALSE(end.Lock());
    EXPECT_EQ(TestAccess::CountIds(manager()), 0U);
}

} // namespace
