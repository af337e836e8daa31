// What random edits do not reach: locks, foreign nodes, the end of the program, depth.

#include "platform/base/cbexception.h"
#include "tests/support/managerfixture.h"
#include "tests/support/treematrices.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

namespace
{

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
};

TEST_F(NodeManager, GoesAtExitWithTheRootSet)
{
    for (const bool lockedElsewhere : {false, true}) {
        SCOPED_TRACE(lockedElsewhere);
        const auto tree = rootedTree("root(cluster(leaf))");
        Manager::WriteHandle handle = lockElsewhere([&] {
            return lockedElsewhere ? manager().GetSingleWriteHandleLocked(tree["leaf"])
                                   : Manager::WriteHandle();
        });
        DestroySingleton<Manager>();
        // Nobody is waited for; what is locked by another thread stays.
        EXPECT_EQ(tree.GetRoot()->GetDataManager(), lockedElsewhere ? &dataManager : nullptr);
        EXPECT_EQ(tree["leaf"]->GetFather() != nullptr, lockedElsewhere);
        handle = {};
        if (lockedElsewhere) {
            for (const char* name : {"leaf", "cluster", "root"}) {
                handle = Manager::WriteHandle(dataManager, tree[name]);
                EXPECT_TRUE(dataManager.RemoveNode(handle));
            }
        }
        ASSERT_TRUE(manager().SetDataManager(dataManager, dataNode));
    }
}

TEST_F(NodeManager, LocksNothingWithoutADataManager)
{
    const Scenario tree("root(leaf)", Scenario::EBuilder::Manager);
    ASSERT_TRUE(manager().UnsetDataManager());
    EXPECT_THROW((void)manager().GetDataManager(), CbException);
    EXPECT_TRUE(manager().GetWriteHandle(tree["leaf"]).IsEmpty());
    auto status = CyDataManager::eGeneralError;
    EXPECT_FALSE(manager().TryLockAndWait(0, status));
    EXPECT_EQ(status, CyDataManager::eNoQueries);
    EXPECT_TRUE(manager().IsNotManagedOrWriteLocked(tree["leaf"]));
    EXPECT_FALSE(manager().IsWriteLocked(tree["leaf"]));
    ASSERT_TRUE(manager().SetDataManager(dataManager, dataNode));
}

TEST_F(NodeManager, AReadLockGivesReadingBelowItsNodeAndNothingElse)
{
    const auto tree = rootedTree("root(a(b), c)");
    EXPECT_FALSE(manager().IsReadLocked(tree["b"]));
    EXPECT_FALSE(manager().IsNotManagedOrReadLocked(tree["b"]));
    const auto handle = manager().GetSingleReadHandleLocked(tree["a"]);
    EXPECT_TRUE(manager().IsReadLocked(tree["b"]));
    EXPECT_TRUE(manager().IsNotManagedOrReadLocked(tree["b"]));
    EXPECT_FALSE(manager().IsWriteLocked(tree["b"]));
    EXPECT_FALSE(manager().IsNotManagedOrWriteLocked(tree["b"]));
    EXPECT_FALSE(manager().IsReadLocked(tree["c"]));
    EXPECT_FALSE(manager().IsReadLocked(nullptr));
    EXPECT_TRUE(manager().IsNotManagedOrReadLocked(nullptr));
}

TEST_F(NodeManager, TouchesNoDataManagerThatWentFirst)
{
    {
        CyDataManager shortLived;
        ASSERT_TRUE(manager().UnsetDataManager());
        ASSERT_TRUE(manager().SetDataManager(shortLived, shortLived.GetTopNode()));
        const auto handle = manager().GetReadHandle(manager().CreateRootNode());
    }
    EXPECT_FALSE(manager().IsReadLocked(manager().GetRootNode()));
    EXPECT_FALSE(manager().IsWriteLocked(manager().GetRootNode()));
    DestroySingleton<Manager>();
    ASSERT_TRUE(manager().SetDataManager(dataManager, dataNode));
}

TEST_F(NodeManager, ASingleHandleOnANodeOfAnotherDataManagerIsRefused)
{
    const auto tree = rootedTree("root(leaf)");
    CyDataManager other;
    const Node foreign = manager().CreateInnerNode();
    ASSERT_TRUE(other.InsertNode(other.GetTopNode(), foreign));
    const auto query = manager().GetWriteHandle(tree["leaf"]);
    EXPECT_THROW((void)manager().GetSingleWriteHandleLocked(foreign), CbException);
    EXPECT_FALSE(manager().IsWriteLocked(tree["root"]));
    EXPECT_FALSE(query.IsValid()) << "granted on the side";
}

TEST_F(NodeManager, InsertsAChildThatIsNamedByAnEntryOfItsFather)
{
    const auto tree = Scenario("old(x, y)", Scenario::EBuilder::Manager);
    const auto next = Scenario("next(z)", Scenario::EBuilder::Manager);
    // The old father goes on listing what it lost by an exchange.
    const auto old = tree.GetRootInner();
    manager().ExchangeChild(next.GetRootInner(), next["z"], tree["x"]);
    manager().RemoveChild(next.GetRootInner(), tree["x"]);
    manager().InsertChild(old, old->EndChild(), *old->BeginChild());
    EXPECT_EQ(Describe(*old), "old(y, x)");
    EXPECT_EQ(tree["x"]->GetFather(), old);
}

TEST_F(NodeManager, PutsNoCopyBelowWhatItLists)
{
    const auto tree = Scenario("root(x(a()))", Scenario::EBuilder::Manager);
    const CbSmartPointer<ZeCTransformationNodeInner> copy(
        new ZeCTransformationNodeInner(*tree.GetInner("x")));
    EXPECT_THROW(manager().AppendChild(tree.GetInner("a"), copy), CbException);
    manager().MoveNode(copy, tree["a"], nullptr);
    EXPECT_EQ(copy->GetNrChildren(), 1U) << "listed twice";
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

// A chain as deep as it may be is built in the data manager, walked, asked, taken out and destroyed
// on the stack of a thread, which is smaller than that of the program.
TEST_F(NodeManager, KeepsChainsOfAnyDepth)
{
    std::thread([] {
        constexpr int depth = 100000;
        const Inner root = manager().CreateRootNode();
        const Inner first = manager().CreateInnerNode();
        Inner last = first;
        for (int i = 1; i < depth; ++i) {
            if (i == depth / 2) manager().AppendChild(root, first);
            const Inner next = manager().CreateInnerNode();
            next->SetRelativeTrafo(Shift(1, 0, 0));
            manager().AppendChild(last, next);
            last = next;
        }
        const Leaf leaf = manager().CreateLeafNodeFromSurfelCollection(SurfelsAt({{}}));
        manager().AppendChild(last, leaf);
        EXPECT_EQ(leaf->GetParent(), last);

        int steps = 0;
        for (auto it = first->BeginNode(); it; ++it) ++steps;
        EXPECT_EQ(steps, depth + 1);
        for (auto it = first->LastNode(); it; --it) --steps;
        EXPECT_EQ(steps, 0);
        EXPECT_TRUE(root->LastNode() == root->Find(Node(leaf)));
        EXPECT_EQ(root->GetNrCachedLeafNodes(), 1U);
        EXPECT_EQ(root->FrontLeaf(), leaf);
        EXPECT_EQ(root->BackNode(), leaf);
        const float x = depth - 1;
        EXPECT_EQ(root->GetBoundingBox(c_matIdentityD), CyBoundingBox3D({x, 0, 0}, {x, 0, 0}));
        EXPECT_EQ(leaf->GetRelativeTrafo(root), Shift(x, 0, 0));
        leaf->NewNodeRevision(1);
        EXPECT_EQ(root->GetNodeRevisionSubtree(3), leaf->GetNodeRevision(3));
        root->UpdateNodeRevisionSubtree(nullptr);
        EXPECT_EQ(root->GetNodeRevision(1), leaf->GetNodeRevision(1));

        manager().RemoveChild(root, first);
        EXPECT_EQ(leaf->GetDataManager(), nullptr);
        manager().AppendChild(root, first);
        manager().ExchangeChild(root, first, manager().CreateInnerNode());
        manager().MoveNode(root, first, root->FrontChild());
        EXPECT_EQ(TestAccess::CountIds(manager()), depth + 3U);
        manager().ReplaceChild(root, first, manager().CreateInnerNode());
        EXPECT_EQ(TestAccess::CountIds(manager()), 3U);
        unsetRoot();

        Inner top = CbMake<ZeCTransformationNodeInner>(); // which alone keeps those below it
        last = top;
        for (int i = 0; i < depth; ++i) {
            const Inner next = CbMake<ZeCTransformationNodeInner>();
            LinkByHand(last, next);
            last = next;
        }
        top = nullptr;
        EXPECT_FALSE(last->GetFather());
    }).join();
    EXPECT_EQ(TestAccess::CountIds(manager()), 0U);
}

} // namespace
