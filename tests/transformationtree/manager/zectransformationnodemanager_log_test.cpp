// What the node manager logs, word for word, and the outcomes of locking that it logs.

#include "platform/base/cbevent.h"
#include "platform/base/cbexception.h"
#include "platform/base/cystackwalker.h"
#include "tests/support/logrecorder.h"
#include "tests/support/managerfixture.h"
#include "tests/support/scenario.h"

#include <functional>
#include <gmock/gmock.h>
#include <optional>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using testing::ElementsAre;

constexpr const char* c_single = "ZeCTransformationNodeManager::getSingleHandleLocked";

class NodeManagerLog : public NodeManagerTest
{
protected:
    NodeManagerLog()
    {
        manager().SetRootNode(tree_.GetRootInner());
        (void)recorder_.TakeRecords();
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

    // A thread that holds a lock until it is told to release it.
    class Holder
    {
    public:
        template<class Lock>
        explicit Holder(const Lock& lock)
            : thread_([this, lock] {
                  const auto handle = lock();
                  held_.Set();
                  release_.Wait();
              })
        {
            held_.Wait();
        }
        ~Holder() { release_.Set(); }
        void Release()
        {
            release_.Set();
            thread_.join();
        }

    private:
        CbEvent held_;
        CbEvent release_;
        std::jthread thread_;
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

// The function that was called is left out; the first line is its caller.
TEST_F(NodeManagerLog, ShowsTheCallsThatLedToAFailure)
{
    const std::string here = CyStackWalker::GetCallStack().ToUtf8();
    EXPECT_THROW(manager().Lock(), CbException);
    EXPECT_THROW(tree_.GetRoot()->SetRelativeTrafo(c_matIdentityD, nullptr), CbException);
    EXPECT_THROW((void)manager().GetSingleReadHandleLocked(nullptr), CbException);
    const auto records = recorder_.TakeRecords();
    ASSERT_EQ(records.size(), 3U);
    for (const LogRecord& record : records) {
        const std::string text = record.text.ToUtf8();
        const std::string calls = text.substr(text.find('\n') + 1);
        // Not at the same offset in this function, but in it.
        EXPECT_EQ(calls.substr(0, calls.find("+0x")), here.substr(0, here.find("+0x")));
        EXPECT_EQ(calls.substr(calls.find('\n')), here.substr(here.find('\n')));
    }
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
    const std::vector<std::vector<std::string>> logs = {
        {},
        {retry},
        {retry, retry, "3 1876 getSingleHandleLocked<Read>(b) waited for 200ms."},
        {retry, retry, retry, "3 1876 getSingleHandleLocked<Read>(b) waited for 300ms."},
    };
    for (int retries = 0; retries < 4; ++retries) {
        SCOPED_TRACE(retries);
        Holder holder([&] { return manager().GetSingleWriteHandleLocked(tree_["a"]); });
        int left = retries;
        if (left == 0) holder.Release();
        // The lock is released while the waiting thread logs its last time-out.
        recorder_.SetObserver([&](const LogRecord& record) {
            if (record.line == 1834 && --left == 0) holder.Release();
        });
        const auto handle = manager().GetSingleReadHandleLocked(tree_["b"]);
        EXPECT_TRUE(handle.IsValid());
        EXPECT_EQ(takeLog(c_single), logs[static_cast<std::size_t>(retries)]);
        recorder_.SetObserver(nullptr);
    }
}

TEST_F(NodeManagerLog, NamesANodeThatTheDataManagerKeeps)
{
    const Inner root = tree_.GetRootInner();
    std::optional<Holder> reader; // of another thread, which edits do not respect
    const auto lockElsewhere = [&](const Node& node) {
        reader.emplace([node] { return manager().GetSingleReadHandleLocked(node); });
    };
    // Expects that one warning names a node, and that it was written outside the section.
    const auto expectKept = [&](const char* function, const std::string& number, const Node& node,
                                const std::function<void()>& edit) {
        recorder_.SetObserver([](const LogRecord& record) {
            if (record.level == 3) std::thread([] { (void)manager().GetRootNode(); }).join();
        });
        edit();
        recorder_.SetObserver(nullptr);
        auto records = recorder_.TakeRecords();
        std::erase_if(records, [](const LogRecord& record) { return record.level != 3; });
        ASSERT_EQ(records.size(), 1U) << function;
        EXPECT_EQ(records[0].function, function);
        EXPECT_THAT(records[0].file, testing::HasSubstr("structureedits"));
        EXPECT_EQ(records[0].text.ToUtf8(),
                  "Nodes that the data manager refused, and that stay where they are in it: " +
                      number + ", node " + node->GetID().ToString().ToUtf8() + " first.");
    };
    const Node a = tree_["a"];
    const Node b = tree_["b"];
    const Inner c = tree_.GetInner("c");
    lockElsewhere(b);
    expectKept("MoveNode", "1", b, [&] { manager().MoveNode(c, b, nullptr); });
    EXPECT_EQ(b->GetFather(), c);
    EXPECT_EQ(b->GetParent(), a);
    expectKept("moveNodes", "1", b, [&] { manager().MoveNodes(root, {b}); });
    expectKept("removeChild", "1", b, [&] { manager().RemoveChild(root, b); });
    expectKept("removeChild", "1", a, [&] { manager().RemoveChild(root, a); });
    reader.reset();
    manager().AppendChild(c, b); // which stays in the data manager, where it is
    const auto below = CbMake<CyNode>();
    ASSERT_TRUE(dataManager.InsertNode(c, below));
    expectKept("UnsetRootNode", "2", c, [] { unsetRoot(); });
    for (const CbSmartPointer<CyNode>& kept :
         std::initializer_list<CbSmartPointer<CyNode>>{below, c, a, root}) {
        Manager::WriteHandle handle(dataManager, kept);
        EXPECT_TRUE(dataManager.RemoveNode(handle));
    }
}

TEST_F(NodeManagerLog, ListsTheIdsWhenTheRootComesAndGoes)
{
    // The lists so far: their tag, "enter" or "exit" and the nodes in them.
    const auto takeLists = [&] {
        std::string lists;
        std::multiset<std::string> names; // in no order
        for (const auto& line : takeLog("ZeCTransformationNodeManager::logIDMap")) {
            if (line.starts_with("1 1916 Start ID Map: ")) {
                lists += line.substr(21);
            } else if (line.starts_with("1 1922 End ID Map: ")) {
                for (const auto& name : std::exchange(names, {})) lists += ' ' + name;
                EXPECT_NE(lists.find(line.substr(19)), std::string::npos);
                lists += ". ";
            } else {
                const std::string arrow = " -> description ";
                const auto name = line.substr(line.find(arrow) + arrow.size());
                EXPECT_EQ(line,
                          "1 1920 id " + tree_[name]->GetID().ToString().ToUtf8() + arrow + name);
                names.insert(name);
            }
        }
        return lists;
    };
    manager().UnsetRootNode(); // not locked
    EXPECT_EQ(takeLists(), "UnsetRootNode enter a b c root. ");
    unsetRoot();
    EXPECT_EQ(takeLists(), "UnsetRootNode enter a b c root. UnsetRootNode exit. ");
    EXPECT_THROW(manager().SetRootNode(nullptr), CbException);
    EXPECT_EQ(takeLists(), "SetRootNode enter. ");
    manager().AppendChild(tree_.GetInner("a"), tree_["b"]);
    manager().SetRootNode(tree_.GetInner("a"));
    EXPECT_EQ(takeLists(), "SetRootNode enter. SetRootNode exit a b. ");
    unsetRoot();
    (void)takeLists();
    manager().UnsetRootNode(); // there is none
    EXPECT_EQ(takeLists(), "");
}

class NodeManagerLogSoak : public NodeManagerLog
{};

TEST_F(NodeManagerLogSoak, TellsThatTheTimeIsOver)
{
    const Holder holder([&] { return manager().GetSingleWriteHandleLocked(tree_["a"]); });
    const auto handle = manager().GetWriteHandle(tree_["b"]);
    expectCause("Timeout (nodes not released during WaitTime of 10s!");
}

} // namespace
