#include "tests/platform/datatree/datatreeaccess.h"
#include "tests/support/rounds.h"

#include <algorithm>
#include <atomic>
#include <gmock/gmock.h>
#include <random>
#include <thread>
#include <vector>

namespace
{

constexpr std::uint32_t c_long = 60'000;

class WaitingThreads : public testing::Test, protected SmallTree
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

TEST_F(WaitingThreads, LearnAtOnceThatANodeLeft)
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

TEST_F(WaitingThreads, BehindARequestThatIsGivenUpGetIn)
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

// A node whose members are safe only under the manager's locks.
struct Guarded : CyNode
{
    long first = 0;
    long second = 0;

protected:
    ~Guarded() override = default;
};

Guarded& guarded(const CbSmartPointer<CyNode>& node) { return static_cast<Guarded&>(*node); }

class ManyThreadsLockingAndEditingThreads : public testing::Test
{
protected:
    ManyThreadsLockingAndEditingThreads()
    {
        nodes.push_back(insert(manager.GetTopNode()));
        for (int i = 1; i < 24; ++i) nodes.push_back(insert(nodes[(nodes.size() - 1) / 2]));
    }

    CbSmartPointer<CyNode> insert(const CbSmartPointer<CyNode>& father)
    {
        CbSmartPointer<CyNode> node = CbMake<Guarded>();
        EXPECT_TRUE(manager.InsertNode(father, node));
        return node;
    }

    const CbSmartPointer<CyNode>& any(std::mt19937& random) const
    {
        return nodes[random() % nodes.size()];
    }

    static void write(const CbSmartPointer<CyNode>& node, long& sum)
    {
        ++guarded(node).first;
        ++sum;
        for (const auto& child : node->GetChildren()) write(child, sum);
        ++guarded(node).second;
    }
    static void read(const CbSmartPointer<CyNode>& node)
    {
        EXPECT_EQ(guarded(node).first, guarded(node).second);
        for (const auto& child : node->GetChildren()) read(child);
    }

    void lockAndUse(std::mt19937& random, long& sum)
    {
        const auto toRead = any(random);
        const auto toWrite = any(random);
        const Read reader(manager, toRead);
        const Write writer(manager, toWrite);
        ASSERT_TRUE(manager.TryLockAndWait(c_long));
        write(toWrite, sum);
        read(toRead);
    }

    // Puts a node in below another, moves it and takes it out.
    void lockAndEdit(std::mt19937& random, long& sum)
    {
        const auto from = any(random);
        const auto to = any(random);
        const Write source(manager, from);
        const Write target(manager, to);
        ASSERT_TRUE(manager.TryLockAndWait(c_long));
        const auto node = insert(from);
        Write handle(manager, node);
        EXPECT_TRUE(handle.IsValid());
        write(from, sum);
        EXPECT_TRUE(manager.MoveNode(handle, to));
        EXPECT_TRUE(handle.IsValid());
        read(to);
        sum -= guarded(node).first;
        EXPECT_TRUE(manager.RemoveNode(handle));
    }

    CyDataManager manager;
    std::vector<CbSmartPointer<CyNode>> nodes;
};

TEST_F(ManyThreadsLockingAndEditingThreads, NeverMeetAndAllGetTheirLocks)
{
    constexpr int c_workers = 4;
    std::atomic<long> sum{0};
    std::atomic<long> turns{0};
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    std::vector<std::thread> workers;
    for (int i = 0; i < c_workers; ++i) {
        workers.emplace_back([&, i] {
            std::mt19937 random(static_cast<unsigned>(i));
            long mine = 0;
            for (; std::chrono::steady_clock::now() < end && !HasFatalFailure(); ++turns) {
                random() % 4 == 0 ? lockAndEdit(random, mine) : lockAndUse(random, mine);
            }
            sum += mine;
        });
    }
    for (auto& worker : workers) worker.join();
    TestAccess::CheckCounters(manager);
    EXPECT_FALSE(TestAccess::IsAnybodyWaiting(manager));
    long counted = 0;
    for (const auto& node : nodes) counted += guarded(node).first;
    EXPECT_EQ(counted, sum) << "an update was lost";
    EXPECT_GT(turns, 100);
}

} // namespace
