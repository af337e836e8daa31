#include "tests/platform/datatree/datatreeaccess.h"
#include "tests/support/rounds.h"

#include <algorithm>
#include <atomic>
#include <barrier>
#include <gmock/gmock.h>
#include <random>
#include <thread>
#include <vector>

namespace
{

using Read = CyDataHandleLockOnly<0>;
using Write = CyDataHandleLockOnly<1>;

constexpr std::uint32_t c_long = 60'000;

class WaitingThreads : public testing::Test, protected SmallTree
{
protected:
    void untilSomebodyWaits() const
    {
        while (!TestAccess::IsAnybodyWaiting(manager)) std::this_thread::yield();
    }
};

TEST_F(WaitingThreads, AreLetInWhenTheLockIsGivenBack)
{
    Write mine(manager, b);
    ASSERT_TRUE(manager.TryLock());
    std::thread other([this] {
        const Read above(manager, a);
        EXPECT_TRUE(manager.TryLockAndWait(c_long));
        EXPECT_TRUE(above.IsValid());
    });
    untilSomebodyWaits();
    mine.Release();
    other.join();
    EXPECT_FALSE(TestAccess::IsAnybodyWaiting(manager));
    TestAccess::CheckCounters(manager);
}

TEST_F(WaitingThreads, LearnAtOnceThatTheirNodeLeft)
{
    const Write mine(manager, b);
    ASSERT_TRUE(manager.TryLock());
    std::thread other([this] {
        const Write asked(manager, c);
        auto status = CyDataManager::eGeneralError;
        EXPECT_FALSE(manager.TryLockAndWait(c_long, status));
        EXPECT_EQ(status, CyDataManager::eInvalidNode);
    });
    untilSomebodyWaits();
    Write covered(manager, c);
    EXPECT_TRUE(manager.RemoveNode(covered));
    other.join();
    EXPECT_TRUE(mine.IsValid());
}

TEST_F(WaitingThreads, GetInWhenTheLockedNodeLeaves)
{
    const Write mine(manager, c);
    ASSERT_TRUE(manager.TryLock());
    std::thread other([this] {
        const Read above(manager, a);
        EXPECT_TRUE(manager.TryLockAndWait(c_long));
    });
    untilSomebodyWaits();
    Write leaving(manager, c);
    EXPECT_TRUE(manager.RemoveNode(leaving));
    other.join();
    EXPECT_FALSE(mine.IsValid());
}

TEST_F(WaitingThreads, BehindARequestThatIsGivenUpGetIn)
{
    const Read mine(manager, b);
    ASSERT_TRUE(manager.TryLock());
    std::thread writer([this] {
        const Write asked(manager, b);
        EXPECT_FALSE(manager.TryLockAndWait(30));
    });
    untilSomebodyWaits();
    std::thread reader([this] {
        const Read asked(manager, b);
        EXPECT_TRUE(manager.TryLockAndWait(c_long));
    });
    writer.join();
    reader.join();
    EXPECT_TRUE(mine.IsValid());
}

TEST_F(WaitingThreads, AWriterInShortSlicesIsNotStarvedByReaders)
{
    std::atomic<bool> stop{false};
    std::barrier start(4);
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            start.arrive_and_wait();
            while (!stop) {
                const Read asked(manager, b);
                EXPECT_TRUE(manager.TryLockAndWait(c_long));
                std::this_thread::yield();
            }
        });
    }
    start.arrive_and_wait();
    for (int i = 0; i < 20; ++i) {
        auto status = CyDataManager::eGeneralError;
        do {
            const Write asked(manager, b);
            if (manager.TryLockAndWait(5, status)) break;
        } while (status == CyDataManager::eTimeout);
        EXPECT_EQ(status, CyDataManager::eLocked);
    }
    stop = true;
    for (auto& reader : readers) reader.join();
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

class ManyThreads : public testing::Test
{
protected:
    ManyThreads()
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
        std::vector<Read> reads;
        std::vector<Write> writes;
        std::vector<CbSmartPointer<CyNode>> toRead, toWrite;
        for (auto n = 1 + random() % 3; n > 0; --n) {
            const auto& node = any(random);
            if (random() % 2 == 0) {
                reads.emplace_back(manager, node);
                toRead.push_back(node);
            } else {
                writes.emplace_back(manager, node);
                toWrite.push_back(node);
            }
        }
        ASSERT_TRUE(manager.TryLockAndWait(c_long));
        for (const auto& node : toWrite) write(node, sum);
        for (const auto& node : toRead) read(node);
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

class ManyThreadsLockingAndEditingThreads : public ManyThreads
{};

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
