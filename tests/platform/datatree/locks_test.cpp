#include "tests/platform/datatree/datatreeaccess.h"

#include <gmock/gmock.h>
#include <memory>
#include <thread>

namespace
{

using Read = CyDataHandleLockOnly<0>;
using Write = CyDataHandleLockOnly<1>;
using EOutcome = TestAccess::EOutcome;
using std::chrono::milliseconds;

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

TEST_F(LockingNodes, OfAnotherThreadIsRefusedWhereOneWritesAndOneIsAboveTheOther)
{
    enum EKind
    {
        eRead,
        eWrite
    };
    struct Row
    {
        const char* name;
        CbSmartPointer<CyNode> theirs;
        EKind their;
        CbSmartPointer<CyNode> ours;
        EKind our;
        bool granted;
    };
    const Row rows[] = {
        {"two readers of one node", b, eRead, b, eRead, true},
        {"reader and writer of one node", b, eRead, b, eWrite, false},
        {"writer and reader of one node", b, eWrite, b, eRead, false},
        {"two writers of one node", b, eWrite, b, eWrite, false},
        {"reader below a reader", a, eRead, c, eRead, true},
        {"writer below a reader", a, eRead, c, eWrite, false},
        {"reader below a writer", a, eWrite, c, eRead, false},
        {"reader above a reader", c, eRead, a, eRead, true},
        {"reader above a writer", c, eWrite, a, eRead, false},
        {"writer above a reader", c, eRead, a, eWrite, false},
        {"writers of siblings", b, eWrite, d, eWrite, true},
        {"writers of different branches", c, eWrite, e, eWrite, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Read readElsewhere = row.their == eRead ? lockElsewhere<Read>(row.theirs) : Read();
        const Write writeElsewhere =
            row.their == eWrite ? lockElsewhere<Write>(row.theirs) : Write();
        const Read read = row.our == eRead ? Read(manager, row.ours) : Read();
        const Write write = row.our == eWrite ? Write(manager, row.ours) : Write();
        EXPECT_EQ(tryLock(), row.granted ? CyDataManager::eLocked : CyDataManager::eLockedByOther);
        EXPECT_EQ(read.IsValid() || write.IsValid(), row.granted);
    }
}

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
        EXPECT_EQ(tryLock(), CyDataManager::eLocked) << "nothing new to lock";
        Write second(manager, e);
        EXPECT_EQ(tryLock(1000), CyDataManager::eNotReleased) << "at once, and nothing is lost";
        EXPECT_TRUE(first.IsValid());
        EXPECT_FALSE(second.IsValid());
        first.Release();
        EXPECT_EQ(tryLock(), CyDataManager::eLocked);
        EXPECT_TRUE(second.IsValid());
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
        Write asked(manager, c);
        EXPECT_TRUE(manager.RemoveNode(gone));
        EXPECT_EQ(tryLock(), CyDataManager::eInvalidNode);
        const Write other(manager, e);
        EXPECT_EQ(tryLock(), CyDataManager::eInvalidNode) << "dead until it is released";
        asked.Release();
        EXPECT_EQ(tryLock(), CyDataManager::eLocked);
    }
    {
        const Write lock(manager, d);
        EXPECT_TRUE(manager.TryLock());
        Write same(manager, d);
        EXPECT_TRUE(manager.RemoveNode(same));
        EXPECT_EQ(tryLock(), CyDataManager::eNoQueries) << "void locks count for nothing";
        EXPECT_FALSE(lock.IsValid());
    }
}

TEST_F(LockingNodes, CoversWhatHangsBelow)
{
    const Write lock(manager, a);
    const Read reader(manager, c);
    const Write writer(manager, c);
    EXPECT_FALSE(reader.IsValid()) << "nothing is locked yet";
    EXPECT_TRUE(manager.TryLock());
    const Read laterRead(manager, d);
    const Write laterWrite(manager, d);
    const Read outside(manager, e);
    EXPECT_TRUE(laterRead.IsValid());
    EXPECT_TRUE(laterWrite.IsValid());
    EXPECT_FALSE(outside.IsValid());
    std::thread([&] {
        const Read other(manager, d);
        EXPECT_FALSE(other.IsValid()) << "another thread's lock covers nothing";
    }).join();
}

TEST_F(LockingNodes, ForReadingCoversNoWriting)
{
    const Read lock(manager, a);
    EXPECT_TRUE(manager.TryLock());
    const Read reader(manager, c);
    const Write writer(manager, c);
    EXPECT_TRUE(reader.IsValid());
    EXPECT_FALSE(writer.IsValid());
    EXPECT_TRUE(reader.IsValid());
    EXPECT_EQ(tryLock(), CyDataManager::eNotReleased);
}

TEST_F(LockingNodes, ACoverEndsWithTheLockAndWithAMove)
{
    Write lock(manager, a);
    EXPECT_TRUE(manager.TryLock());
    Write below(manager, b);
    const Write deep(manager, c);
    EXPECT_TRUE(deep.IsValid());
    EXPECT_TRUE(manager.MoveNode(below, e));
    EXPECT_FALSE(deep.IsValid());
    EXPECT_FALSE(below.IsValid());
    EXPECT_EQ(tryLock(), CyDataManager::eNotReleased);
    lock.Release();
    EXPECT_EQ(tryLock(), CyDataManager::eLocked);
}

TEST_F(LockingNodes, ANodeThatLeftAndCameBackElsewhereIsNotCovered)
{
    const Write lock(manager, a);
    EXPECT_TRUE(manager.TryLock());
    Write below(manager, c);
    EXPECT_TRUE(below.IsValid());
    EXPECT_TRUE(manager.RemoveNode(below));
    EXPECT_TRUE(manager.InsertNode(e, c));
    const Write again(manager, c);
    EXPECT_FALSE(again.IsValid());
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

// Locks a node when its thread is about to be gone.
struct LateUser
{
    CyDataManager& manager;
    CbSmartPointer<CyNode> node;

    ~LateUser()
    {
        const Write handle(manager, node);
        EXPECT_TRUE(manager.TryLock());
        EXPECT_TRUE(handle.IsValid());
    }
};

TEST_F(LockingNodes, StillWorksWhileAThreadEnds)
{
    std::thread([this] {
        thread_local LateUser late{manager, b};
        const Write handle(late.manager, a);
        EXPECT_TRUE(manager.TryLock());
    }).join();
    const Write handle(manager, a);
    EXPECT_EQ(tryLock(), CyDataManager::eLocked);
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

TEST_F(LockingNodes, RemovalWantsAccess)
{
    Write asked(manager, c);
    {
        const Read above = lockElsewhere<Read>(a);
        EXPECT_FALSE(manager.RemoveNode(asked));
    }
    {
        const Read other = lockElsewhere<Read>(d);
        EXPECT_TRUE(manager.RemoveNode(asked)) << "a lock beside the node is in nobody's way";
    }
    EXPECT_FALSE(manager.RemoveNode(asked)) << "the handle is void";
    Write top(manager, manager.GetTopNode());
    Write inner(manager, a);
    Write empty;
    EXPECT_FALSE(manager.RemoveNode(top));
    EXPECT_FALSE(manager.RemoveNode(inner)) << "it has children";
    EXPECT_FALSE(manager.RemoveNode(empty));
    SmallTree other;
    Write foreign(other.manager, other.c);
    EXPECT_FALSE(manager.RemoveNode(foreign));
    TestAccess::CheckCounters(manager);
}

TEST_F(LockingNodes, AMoveIsRefusedWhereLocksInTheSubtreeWouldConflict)
{
    const Write mine(manager, b);
    EXPECT_TRUE(manager.TryLock());
    Write moved(manager, b);
    {
        const Read reader = lockElsewhere<Read>(e);
        EXPECT_FALSE(manager.MoveNode(moved, e));
        EXPECT_EQ(b->GetParent(), a);
    }
    EXPECT_FALSE(manager.MoveNode(moved, b));
    EXPECT_FALSE(manager.MoveNode(moved, c)) << "below itself";
    EXPECT_FALSE(manager.MoveNode(moved, CbMake<CyNode>()));
    EXPECT_FALSE(manager.MoveNode(moved, nullptr));
    EXPECT_TRUE(manager.MoveNode(moved, e));
    EXPECT_EQ(b->GetParent(), e);
    EXPECT_TRUE(mine.IsValid());
    TestAccess::CheckCounters(manager);
}

class BlockedRequests : public testing::Test, protected SmallTree
{
protected:
    BlockedRequests()
    {
        for (auto& thread : threads) {
            thread = std::make_unique<CyLockThread>(TestAccess::Engine(manager));
        }
    }
    ~BlockedRequests() override
    {
        for (auto& handle : reads) handle.Release();
        for (auto& handle : writes) handle.Release();
        for (auto& thread : threads) TestAccess::End(*thread);
    }
    EOutcome attempt(std::size_t thread) { return TestAccess::Attempt(*threads[thread], now); }

    // One logical thread for each row of handles.
    std::array<std::unique_ptr<CyLockThread>, 4> threads;
    std::array<Read, 4> reads;
    std::array<Write, 4> writes;
    TestAccess::Clock::time_point now;
};

TEST_F(BlockedRequests, AreNotOvertakenByNewerOnesThatConflict)
{
    TestAccess::Ask(reads[0], *threads[0], *b);
    EXPECT_EQ(attempt(0), EOutcome::Locked);
    TestAccess::Ask(writes[1], *threads[1], *a);
    EXPECT_EQ(attempt(1), EOutcome::BlockedByLock);
    TestAccess::StartWaiting(*threads[1]);

    TestAccess::Ask(reads[2], *threads[2], *c);
    EXPECT_EQ(attempt(2), EOutcome::BlockedByOlder) << "below what the writer waits for";
    TestAccess::Ask(reads[3], *threads[3], *e);
    EXPECT_EQ(attempt(3), EOutcome::Locked) << "in another branch";
    TestAccess::Ask(reads[1], *threads[0], *c);
    EXPECT_EQ(attempt(0), EOutcome::Locked) << "the reader's own lock covers it";

    reads[0].Release();
    reads[1].Release();
    EXPECT_EQ(attempt(2), EOutcome::BlockedByOlder) << "the writer comes first";
    EXPECT_EQ(attempt(1), EOutcome::Locked);
    EXPECT_EQ(attempt(2), EOutcome::BlockedByLock);
}

TEST_F(BlockedRequests, KeepTheirPlaceForATenthOfASecond)
{
    TestAccess::Ask(reads[0], *threads[0], *b);
    EXPECT_EQ(attempt(0), EOutcome::Locked);
    TestAccess::Ask(writes[1], *threads[1], *b);
    EXPECT_EQ(attempt(1), EOutcome::BlockedByLock);
    TestAccess::StartWaiting(*threads[1]);
    TestAccess::Ask(reads[2], *threads[2], *b);
    for (int slice = 0; slice < 5; ++slice) {
        now += milliseconds(100);
        EXPECT_EQ(attempt(1), EOutcome::BlockedByLock);
        TestAccess::StopWaiting(*threads[1], now);
        now += milliseconds(100);
        EXPECT_EQ(attempt(2), EOutcome::BlockedByOlder);
        writes[1].Release(); // the next slice asks anew
        TestAccess::Ask(writes[1], *threads[1], *b);
        EXPECT_EQ(attempt(1), EOutcome::BlockedByLock);
        TestAccess::StartWaiting(*threads[1]);
    }
    TestAccess::StopWaiting(*threads[1], now);
    now += milliseconds(101);
    EXPECT_EQ(attempt(2), EOutcome::Locked) << "the writer did not come back in time";
}

TEST_F(BlockedRequests, ThatDidNotWaitHaveNoPlace)
{
    TestAccess::Ask(reads[0], *threads[0], *b);
    EXPECT_EQ(attempt(0), EOutcome::Locked);
    TestAccess::Ask(writes[1], *threads[1], *b);
    EXPECT_EQ(attempt(1), EOutcome::BlockedByLock);
    TestAccess::Ask(reads[2], *threads[2], *b);
    EXPECT_EQ(attempt(2), EOutcome::Locked);
}

} // namespace
