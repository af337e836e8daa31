#include "tests/platform/datatree/datatreeaccess.h"

#include <thread>

namespace
{

constexpr std::uint32_t c_long = 60'000;

class AWaitingThread : public testing::Test, protected SmallTree
{
protected:
    // Has another thread wait for a lock, does something meanwhile and expects the outcome.
    template<class Handle, class Action>
    void whileWaitingFor(const CbSmartPointer<CyNode>& node, Action action,
                         CyDataManager::ELockStatus expected = CyDataManager::eLocked,
                         std::uint32_t milliseconds = c_long)
    {
        std::thread other([&] {
            const Handle asked(manager, node);
            auto status = CyDataManager::eGeneralError;
            const bool locked = manager.TryLockAndWait(milliseconds, status);
            EXPECT_EQ(asked.IsValid(), locked);
            EXPECT_EQ(status, expected);
        });
        while (!TestAccess::IsAnybodyWaiting(manager)) std::this_thread::yield();
        action();
        other.join();
        TestAccess::CheckCounters(manager);
    }
};

TEST_F(AWaitingThread, LearnsAtOnceThatANodeLeft)
{
    Write mine(manager, c);
    ASSERT_TRUE(manager.TryLock());
    const auto remove = [&] {
        Write covered(manager, c);
        EXPECT_TRUE(manager.RemoveNode(covered));
    };
    whileWaitingFor<Write>(c, remove, CyDataManager::eInvalidNode);
    EXPECT_FALSE(mine.IsValid());

    ASSERT_TRUE(manager.InsertNode(b, c));
    mine = Write(manager, c);
    ASSERT_TRUE(manager.TryLock());
    whileWaitingFor<Read>(a, remove);
}

TEST_F(AWaitingThread, BehindARequestThatIsGivenUpGetsIn)
{
    const Read mine(manager, b);
    ASSERT_TRUE(manager.TryLock());
    std::thread reader;
    const auto queueUp = [&] {
        reader = std::thread([this] {
            const Read asked(manager, b);
            EXPECT_TRUE(manager.TryLockAndWait(c_long));
        });
    };
    whileWaitingFor<Write>(b, queueUp, CyDataManager::eTimeout, 30);
    reader.join();
}

} // namespace
