// What the node manager logs, word for word, and the outcomes of locking that it logs.

#include "platform/base/cbevent.h"
#include "platform/base/cbexception.h"
#include "tests/support/logrecorder.h"
#include "tests/support/managerfixture.h"
#include "tests/support/scenario.h"

#include <functional>
#include <gmock/gmock.h>
#include <set>
#include <thread>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* c_single = "ZeCTransformationNodeManager::getSingleHandleLocked";

class NodeManagerLog : public NodeManagerTest
{
protected:
    NodeManagerLog()
    {
        manager().SetRootNode(tree_.GetRootInner());
        (void)recorder_.TakeRecords();
        (void)recorder_.TakeQueries();
    }

    // The messages so far, "level line text"; of those with a call stack the first line.
    std::vector<std::string> takeLog(const char* function)
    {
        std::vector<std::string> log;
        for (const LogRecord& record : recorder_.TakeRecords()) {
            EXPECT_EQ(record.logger.ToUtf8(), "Diagnostics.Registration.TransformationNodeManager");
            EXPECT_EQ(record.file, "zectransformationnodemanager");
            EXPECT_EQ(record.function, function);
            const std::string text = record.text.ToUtf8();
            EXPECT_EQ(text.find('\n') != std::string::npos, record.level == 3) << text;
            log.push_back(std::to_string(record.level) + ' ' + std::to_string(record.line) + ' ' +
                          text.substr(0, text.find('\n')));
        }
        return log;
    }

    // A thread that holds a write lock on a node until it is told to release it.
    class Holder
    {
    public:
        explicit Holder(const Node& node)
            : thread_([this, node] {
                  const auto handle = manager().GetSingleWriteHandleLocked(node);
                  held_.Set();
                  release_.Wait();
              })
        {
            held_.Wait();
        }
        ~Holder() { Release(); }
        void Release()
        {
            release_.Set();
            if (thread_.joinable()) thread_.join();
        }

    private:
        CbEvent held_;
        CbEvent release_;
        std::thread thread_;
    };

    static void expectThrown(unsigned line, const char* function, const std::function<void()>& lock)
    {
        try {
            lock();
            ADD_FAILURE() << "nothing thrown";
        } catch (const CbException& exception) {
            EXPECT_EQ(exception.GetFile(), "zectransformationnodemanager");
            EXPECT_EQ(exception.GetLine(), line);
            EXPECT_EQ(exception.GetFunction(), function);
        }
    }
    // Locks what is recorded, which fails, and expects the cause in the log.
    void expectCause(const char* cause)
    {
        constexpr const char* function = "ZeCTransformationNodeManager::Lock";
        expectThrown(1436, function, [] { manager().Lock(); });
        EXPECT_THAT(takeLog(function), ElementsAre(std::string("3 1431 Cause: ") + cause));
    }
    void expectRefused(const Node& node, const char* logged)
    {
        expectThrown(1870, c_single, [&] { (void)manager().GetSingleWriteHandleLocked(node); });
        EXPECT_THAT(takeLog(c_single), ElementsAre(logged));
    }

    Scenario tree_{"root(a(b), c())", Scenario::EBuilder::Manager};
    LogRecorder recorder_;
};

TEST_F(NodeManagerLog, TellsWhyNothingCouldBeLocked)
{
    expectCause("No locking queries defined!");
    {
        const auto held = manager().GetWriteHandle(tree_["a"]);
        manager().Lock();
        const auto more = manager().GetWriteHandle(tree_["c"]);
        expectCause("Still unreleased locks!");
    }
    const auto dead = manager().GetWriteHandle(tree_["b"]);
    manager().RemoveChild(tree_.GetInner("a"), tree_["b"]);
    expectCause("Invalid Node (maybe removed from the DataManager?)!");
}

TEST_F(NodeManagerLog, AsksForTheLevelFirst)
{
    recorder_.SetEnabled(3, false);
    EXPECT_THROW(manager().Lock(), CbException);
    EXPECT_THAT(recorder_.TakeQueries(), SizeIs(1));
    EXPECT_THROW((void)manager().GetSingleReadHandleLocked(nullptr), CbException);
    EXPECT_THAT(recorder_.TakeQueries(), SizeIs(1));

    recorder_.SetEnabled(1, false);
    unsetRoot();
    manager().SetRootNode(tree_.GetRootInner());
    EXPECT_THAT(recorder_.TakeQueries(), SizeIs(2));
    EXPECT_THAT(recorder_.TakeRecords(), IsEmpty());
}

TEST_F(NodeManagerLog, TellsWhyASingleHandleIsRefused)
{
    const Node outside = manager().CreateInnerNode();
    outside->SetDescription(CB_TEXT("outside"));
    expectRefused(outside, "3 1863 getSingleHandleLocked<Write>(outside) NoData.");
    expectRefused(nullptr, "3 1863 getSingleHandleLocked<Write>() NoData.");
    expectThrown(1870, c_single, [] { (void)manager().GetSingleReadHandleLocked(nullptr); });
    EXPECT_THAT(takeLog(c_single), ElementsAre("3 1863 getSingleHandleLocked<Read>() NoData."));
    {
        const auto held = manager().GetSingleWriteHandleLocked(tree_["a"]);
        expectRefused(tree_["c"], "3 1866 getSingleHandleLocked<Write>(c) NotAllLocksReleased.");
        // What is covered is granted all the same.
        EXPECT_TRUE(manager().GetSingleReadHandleLocked(tree_["b"]).IsValid());
    }
    const auto dead = manager().GetReadHandle(tree_["b"]);
    manager().RemoveChild(tree_.GetInner("a"), tree_["b"]);
    expectRefused(tree_["c"], "3 1860 getSingleHandleLocked<Write>(c) InvalidNode.");
}

TEST_F(NodeManagerLog, TellsHowLongASingleHandleWaited)
{
    const std::string retry = "1 1834 getSingleHandleLocked<Read>(b) 100ms Timeout, retrying.";
    const struct
    {
        int retries;
        std::vector<std::string> log;
    } rows[] = {
        {0, {}},
        {1, {retry}},
        {2, {retry, retry, "3 1876 getSingleHandleLocked<Read>(b) waited for 200ms."}},
        {3, {retry, retry, retry, "3 1876 getSingleHandleLocked<Read>(b) waited for 300ms."}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.retries);
        Holder holder(tree_["a"]);
        int left = row.retries;
        if (left == 0) holder.Release();
        // The lock is released while the waiting thread logs its last time-out.
        recorder_.SetObserver([&](const LogRecord& record) {
            if (record.line == 1834 && --left == 0) holder.Release();
        });
        const auto handle = manager().GetSingleReadHandleLocked(tree_["b"]);
        EXPECT_TRUE(handle.IsValid());
        EXPECT_EQ(takeLog(c_single), row.log);
        recorder_.SetObserver(nullptr);
    }
}

TEST_F(NodeManagerLog, ListsTheIdsWhenTheRootComesAndGoes)
{
    constexpr const char* function = "ZeCTransformationNodeManager::logIDMap";
    // The entries of one list, in no order, between its first and last line.
    const auto expectList = [&](std::vector<std::string>& log, const std::string& tag,
                                const std::vector<const char*>& names) {
        ASSERT_GE(log.size(), names.size() + 2);
        const auto end = log.begin() + static_cast<std::ptrdiff_t>(names.size()) + 1;
        EXPECT_EQ(log.front(), "1 1916 Start ID Map: " + tag);
        EXPECT_EQ(*end, "1 1922 End ID Map: " + tag);
        std::multiset<std::string> expected;
        for (const char* name : names) {
            expected.insert("1 1920 id " + tree_[name]->GetID().ToString().ToUtf8() +
                            " -> description " + name);
        }
        EXPECT_EQ(std::multiset<std::string>(log.begin() + 1, end), expected);
        log.erase(log.begin(), end + 1);
    };
    const std::vector<const char*> all{"root", "a", "b", "c"};

    manager().UnsetRootNode(); // not locked
    auto log = takeLog(function);
    expectList(log, "UnsetRootNode enter", all);
    EXPECT_THAT(log, IsEmpty());

    unsetRoot();
    log = takeLog(function);
    expectList(log, "UnsetRootNode enter", all);
    expectList(log, "UnsetRootNode exit", {});
    EXPECT_THAT(log, IsEmpty());

    EXPECT_THROW(manager().SetRootNode(nullptr), CbException);
    log = takeLog(function);
    expectList(log, "SetRootNode enter", {});
    EXPECT_THAT(log, IsEmpty());

    manager().AppendChild(tree_.GetInner("a"), tree_["b"]);
    manager().SetRootNode(tree_.GetInner("a"));
    log = takeLog(function);
    expectList(log, "SetRootNode enter", {});
    expectList(log, "SetRootNode exit", {"a", "b"});
    EXPECT_THAT(log, IsEmpty());

    unsetRoot();
    (void)takeLog(function);
    manager().UnsetRootNode(); // there is none
    EXPECT_THAT(takeLog(function), IsEmpty());
}

TEST_F(NodeManagerLog, HandlesOfUnmanagedNodesAreEmptyAndNeedNoLock)
{
    const Node outside = manager().CreateInnerNode();
    for (const Node& node : {outside, Node()}) {
        EXPECT_FALSE(manager().GetReadHandle(node).IsValid());
        EXPECT_FALSE(manager().GetWriteHandle(node).IsValid());
        EXPECT_FALSE(manager().IsReadLocked(node));
        EXPECT_FALSE(manager().IsWriteLocked(node));
        EXPECT_TRUE(manager().IsNotManagedOrReadLocked(node));
        EXPECT_TRUE(manager().IsNotManagedOrWriteLocked(node));
    }
    const Node b = tree_["b"];
    EXPECT_FALSE(manager().IsNotManagedOrReadLocked(b));
    Manager::ReadHandle read;
    manager().GetHandle(CbSmartPointer<const CyNode>(b), read);
    EXPECT_FALSE(manager().IsReadLocked(b)); // recorded, but not locked
    ASSERT_TRUE(manager().TryLock());
    EXPECT_TRUE(read.IsValid());
    EXPECT_TRUE(manager().IsReadLocked(b));
    EXPECT_TRUE(manager().IsNotManagedOrReadLocked(b));
    EXPECT_FALSE(manager().IsNotManagedOrWriteLocked(b));
    EXPECT_FALSE(manager().IsReadLocked(tree_["a"]));
    read.Release();
    Manager::WriteHandle write;
    manager().GetHandle(CbSmartPointer<CyNode>(tree_["a"]), write);
    ASSERT_TRUE(manager().TryLockAndWait(0));
    EXPECT_TRUE(manager().IsWriteLocked(b));
    EXPECT_TRUE(manager().IsReadLocked(b));
    manager().GetHandle(CbSmartPointer<CyNode>(outside), write);
    EXPECT_FALSE(manager().IsWriteLocked(b)); // the handle gave its lock back
}

TEST_F(NodeManagerLog, TheStatusTellsHowTryingEnds)
{
    auto status = CyDataManager::eGeneralError;
    const auto tryFor = [&](unsigned milliseconds) {
        const bool locked = manager().TryLockAndWait(milliseconds, status);
        EXPECT_EQ(locked, status == CyDataManager::eLocked);
        return status;
    };
    EXPECT_EQ(tryFor(0), CyDataManager::eNoQueries);
    const Holder holder(tree_["a"]);
    auto handle = manager().GetWriteHandle(tree_.GetRoot());
    EXPECT_EQ(tryFor(0), CyDataManager::eLockedByOther);
    EXPECT_EQ(tryFor(1), CyDataManager::eTimeout);
    EXPECT_FALSE(manager().TryLockAndWait(0));
    handle = manager().GetWriteHandle(tree_["c"]);
    EXPECT_EQ(tryFor(0), CyDataManager::eLocked);
}

TEST(ANodeManagerWithoutDataManager, LocksNothing)
{
    ASSERT_FALSE(CbSingleton<ZeCTransformationNodeManager>::HasInstance());
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    auto status = CyDataManager::eGeneralError;
    EXPECT_FALSE(manager.TryLock());
    EXPECT_FALSE(manager.TryLockAndWait(10000));
    EXPECT_FALSE(manager.TryLockAndWait(10000, status));
    EXPECT_EQ(status, CyDataManager::eNoQueries);
    EXPECT_THROW(manager.Lock(), CbException);
    TestAccess::DestroySingleton<ZeCTransformationNodeManager>();
}

// Ten seconds.
class NodeManagerLogSoak : public NodeManagerLog
{};

TEST_F(NodeManagerLogSoak, TellsThatTheTimeIsOver)
{
    const Holder holder(tree_["a"]);
    const auto handle = manager().GetWriteHandle(tree_["b"]);
    expectCause("Timeout (nodes not released during WaitTime of 10s!");
}

} // namespace
