#include "tests/platform/datatree/datatreeaccess.h"

#include <gtest/gtest.h>
#include <thread>

namespace
{

class LockingNodes : public testing::Test, protected SmallTree
{
protected:
    CyDataManager::ELockStatus tryLock(std::uint32_t wait = 0)
    {
        auto status = CyDataManager::eGeneralError;
        const bool locked = manager.TryLockAndWait(wait, status);
        EXPECT_EQ(locked, status == CyDataManager::eLocked);
        TestAccess::CheckCounters(manager);
        return status;
    }
    // The lock of a thread that has ended since; it lasts as long as the handle.
    template<class Handle>
    Handle lockElsewhere(const CbSmartPointer<CyNode>& node)
    {
        Handle handle;
        std::thread([&] {
            handle = Handle(manager, node);
            EXPECT_TRUE(manager.TryLock());
        }).join();
        return handle;
    }
};

TEST_F(LockingNodes, TellsTheOutcomeByItsStatus)
{
    EXPECT_EQ(tryLock(), CyDataManager::eNoQueries) << "a thread without a handle";
    {
        const Read foreign(manager, CbMake<CyNode>());
        const Read null(manager, nullptr);
        EXPECT_EQ(tryLock(), CyDataManager::eNoQueries) << "empty handles are no queries";
        EXPECT_FALSE(foreign.IsValid() || null.IsValid());
    }
    {
        Read first(manager, b);
        EXPECT_EQ(tryLock(), CyDataManager::eLocked);
        Write second(manager, e);
        EXPECT_EQ(tryLock(1000), CyDataManager::eNotReleased) << "at once, and nothing is lost";
        EXPECT_TRUE(first.IsValid());
        EXPECT_FALSE(second.IsValid());
    }
    {
        const Write elsewhere = lockElsewhere<Write>(c);
        const Write free(manager, e);
        const Write taken(manager, b);
        EXPECT_EQ(tryLock(0), CyDataManager::eLockedByOther);
        EXPECT_EQ(tryLock(1), CyDataManager::eTimeout);
        EXPECT_FALSE(free.IsValid()) << "all or nothing";
    }
    {
        Write gone(manager, c);
        const Write asked(manager, c);
        EXPECT_TRUE(manager.RemoveNode(gone));
        EXPECT_EQ(tryLock(), CyDataManager::eInvalidNode);
    }
}

TEST_F(LockingNodes, HandlesMoveBetweenVariablesAndThreads)
{
    Write first(manager, b);
    EXPECT_TRUE(manager.TryLock());
    Write second(std::move(first));
    EXPECT_FALSE(first.IsValid()); // NOLINT: the state after a move is what is tested
    EXPECT_TRUE(second.IsValid());
    Write& self = second;
    second = std::move(self);
    EXPECT_TRUE(second.IsValid());
    TestAccess::CheckCounters(manager);

    second = Write(manager, e); // the lock on b goes with the old handle
    EXPECT_FALSE(second.IsValid());
    EXPECT_EQ(tryLock(), CyDataManager::eLocked);
    std::thread([&] {
        EXPECT_TRUE(second.IsValid()) << "still the lock of the thread that made it";
        EXPECT_FALSE(manager.TryLock());
        const Write gone = std::move(second);
    }).join();
    const auto elsewhere = lockElsewhere<Write>(e);
    EXPECT_TRUE(elsewhere.IsValid());
    TestAccess::CheckCounters(manager);
}

TEST_F(LockingNodes, HandlesOutliveTheManager)
{
    Read granted;
    Write pending;
    {
        SmallTree shortLived;
        granted = Read(shortLived.manager, shortLived.c);
        EXPECT_TRUE(shortLived.manager.TryLock());
        pending = Write(shortLived.manager, shortLived.c);
    }
    EXPECT_FALSE(granted.IsValid());
    EXPECT_FALSE(pending.IsValid());
    pending = Write(manager, a);
    EXPECT_EQ(tryLock(), CyDataManager::eLocked);
}

TEST_F(LockingNodes, EditsWantAHandleOfThisTreeAndAFatherInIt)
{
    SmallTree other;
    Write empty;
    Write foreign(other.manager, other.c);
    Write mine(manager, c);
    for (Write* handle : {&empty, &foreign}) {
        EXPECT_FALSE(manager.RemoveNode(*handle));
        EXPECT_FALSE(manager.MoveNode(*handle, e));
    }
    for (const auto& father : {CbSmartPointer<CyNode>(), CbMake<CyNode>(), other.a}) {
        EXPECT_FALSE(manager.MoveNode(mine, father));
    }
    TestAccess::CheckCounters(manager);
}

// Looking at z leaves marks from there up to the lock, which are not true any more below e.
TEST_F(LockingNodes, AnEditForgetsWhatCoveredTheNodesThatItMoves)
{
    const auto x = Insert(a);
    const auto w = Insert(x);
    const auto z = Insert(w);
    const auto leaf = Insert(z);
    const auto reader = lockElsewhere<Read>(e);
    const Write own(manager, a);
    EXPECT_EQ(tryLock(), CyDataManager::eLocked);
    EXPECT_TRUE(manager.IsLocked(*z, true));
    const std::vector<CbSmartPointer<CyNode>> nodes{leaf, x, z};
    EXPECT_EQ(manager.MoveNodes(CyNodeView(nodes), e), 1U) << "z, which another thread reads now";
    EXPECT_EQ(x->GetParent(), e);
    EXPECT_EQ(z->GetParent(), w);
    TestAccess::CheckCounters(manager);
}

// Threads whose steps and times the test decides.
class WaitingInTurn : public LockingNodes
{
protected:
    using EOutcome = TestAccess::EOutcome;
    using Time = TestAccess::Clock::time_point;

    struct Requester
    {
        Requester(CyDataManager& manager, CyNode& node) : thread(TestAccess::Engine(manager))
        {
            TestAccess::Ask(write, thread, node);
        }
        ~Requester()
        {
            write.Release();
            TestAccess::End(thread);
        }

        EOutcome Try() { return TestAccess::Attempt(thread, Time()); }
        void Wait(EOutcome expected)
        {
            EXPECT_EQ(Try(), expected);
            TestAccess::StartWaiting(thread);
        }
        void StopWaiting() { TestAccess::StopWaiting(thread, Time()); }
        [[nodiscard]] bool IsWoken() const { return TestAccess::IsWoken(thread); }

        CyLockThread thread;
        Write write;
    };

    Requester first{manager, *b}, second{manager, *b}, third{manager, *b};
};

TEST_F(WaitingInTurn, OneReleaseWakesOneWriter)
{
    Write held = lockElsewhere<Write>(b);
    first.Wait(EOutcome::BlockedByLock);
    second.Wait(EOutcome::BlockedByOlder);
    third.Wait(EOutcome::BlockedByOlder);
    held.Release();
    EXPECT_TRUE(first.IsWoken());
    EXPECT_FALSE(second.IsWoken() || third.IsWoken());
    EXPECT_EQ(first.Try(), EOutcome::Locked);
    EXPECT_FALSE(second.IsWoken() || third.IsWoken());
    first.write.Release();
    EXPECT_TRUE(second.IsWoken());
    EXPECT_FALSE(third.IsWoken());

    (void)lockElsewhere<Write>(e); // whom that concerns
    EXPECT_FALSE(third.IsWoken());
    second.StopWaiting();
    EXPECT_FALSE(third.IsWoken()) << "who waits in slices is back soon";
    second.write.Release();
    EXPECT_TRUE(third.IsWoken());
}

// Uses handles when the other objects of its thread have gone.
struct LastOfAThread
{
    ~LastOfAThread()
    {
        SmallTree& tree = *used;
        SmallTree other;
        {
            const Write early = std::move(handle);
            EXPECT_TRUE(early.IsValid());
            const Write again(tree.manager, tree.c);
            EXPECT_TRUE(tree.manager.TryLock()) << "it is the same thread";
        }
        {
            Write late(tree.manager, tree.a);
            EXPECT_TRUE(tree.manager.TryLock());
            const Read elsewhere(other.manager, other.a);
            EXPECT_TRUE(other.manager.TryLock());
            const Read covered(tree.manager, tree.b);
            EXPECT_TRUE(covered.IsValid());
            EXPECT_TRUE(tree.manager.IsLocked(*tree.b, true));
        }
        Write given(tree.manager, tree.a);
        std::thread([&] { const Write taken = std::move(given); }).join();
        const Write last(tree.manager, tree.a);
        EXPECT_TRUE(tree.manager.TryLock());
    }

    SmallTree* used = nullptr;
    Write handle;
};

TEST_F(LockingNodes, AThreadIsTheSameToItsLastObject)
{
    std::thread([&] {
        thread_local LastOfAThread last; // goes after what the first handle makes
        last.used = this;
        last.handle = Write(manager, b);
        EXPECT_TRUE(manager.TryLock());
    }).join();
    Write mine(manager, a);
    EXPECT_EQ(tryLock(), CyDataManager::eLocked);
}

} // namespace
