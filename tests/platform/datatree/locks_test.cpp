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

TEST_F(LockingNodes, IsNotOvertakenBetweenTwoSlicesOfWaiting)
{
    const Read held = lockElsewhere<Read>(b);
    const Write wanted(manager, b);
    bool refused = false;
    for (int slice = 0; slice < 100 && !refused; ++slice) { // a slow machine needs more than one
        EXPECT_EQ(tryLock(1), CyDataManager::eTimeout);
        std::thread([&] {
            const Read newer(manager, b);
            refused = !manager.TryLock();
        }).join();
    }
    EXPECT_TRUE(refused);
}

} // namespace
