// What the node manager logs, word for word, and the outcomes of locking that it logs.

#include "platform/base/cbexception.h"
#include "platform/base/cystackwalker.h"
#include "tests/support/logrecorder.h"
#include "tests/support/managerfixture.h"
#include "tests/support/storedbytes.h"

#include <functional>
#include <vector>

namespace
{

using testing::ElementsAre;

constexpr const char* c_logIDMap = "ZeCTransformationNodeManager::logIDMap";
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

    static void expectThrown(unsigned line, const char* function, const std::function<void()>& lock)
    {
        ExpectThrowsFrom<CbException>("zectransformationnodemanager", line, lock, function);
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
    const auto waited = [](const char* time) {
        return std::string("3 1876 getSingleHandleLocked<Read>(b) waited for ") + time;
    };
    const std::vector<std::string> logs[] = {
        {},
        {retry},
        {retry, retry, waited("200ms.")},
        {retry, retry, retry, waited("300ms.")},
    };
    for (std::size_t retries = 0; retries < std::size(logs); ++retries) {
        SCOPED_TRACE(retries);
        auto held = lockElsewhere([&] { return manager().GetSingleWriteHandleLocked(tree_["a"]); });
        auto left = retries;
        if (left == 0) held.Release();
        // The lock is released while the waiting thread logs its last time-out.
        recorder_.SetObserver([&](const LogRecord& record) {
            if (record.line == 1834 && --left == 0) held.Release();
        });
        EXPECT_TRUE(manager().GetSingleReadHandleLocked(tree_["b"]).IsValid());
        EXPECT_EQ(takeLog(c_single), logs[retries]);
        recorder_.SetObserver(nullptr);
    }
}

TEST_F(NodeManagerLog, NamesANodeThatTheDataManagerKeeps)
{
    const Inner root = tree_.GetRootInner();
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
    auto reader = lockElsewhere([&] { return manager().GetSingleReadHandleLocked(b); });
    expectKept("MoveNode", "1", b, [&] { manager().MoveNode(c, b, nullptr); });
    EXPECT_EQ(b->GetFather(), c);
    EXPECT_EQ(b->GetParent(), a);
    expectKept("moveNodes", "1", b, [&] { manager().MoveNodes(root, {b}); });
    expectKept("removeChild", "1", b, [&] { manager().RemoveChild(root, b); });
    expectKept("removeChild", "1", a, [&] { manager().RemoveChild(root, a); });
    reader.Release();
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
    // Expects a list of nodes, in any order.
    const auto expectList = [&](const std::string& tag, const std::vector<std::string>& names) {
        const auto log = takeLog(c_logIDMap);
        std::vector<std::string> expected{"1 1916 Start ID Map: " + tag,
                                          "1 1922 End ID Map: " + tag};
        for (const auto& name : names) {
            expected.push_back("1 1920 id " + tree_[name]->GetID().ToString().ToUtf8() +
                               " -> description " + name);
        }
        EXPECT_THAT(log, testing::UnorderedElementsAreArray(expected));
        EXPECT_EQ(log.front() + log.back(), expected[0] + expected[1]);
    };
    manager().UnsetRootNode(); // not locked
    expectList("UnsetRootNode enter", {"a", "b", "c", "root"});
    EXPECT_THROW(manager().SetRootNode(nullptr), CbException);
    expectList("SetRootNode enter", {"a", "b", "c", "root"});
    unsetRoot();
    auto log = takeLog(c_logIDMap);
    EXPECT_THAT(log, testing::SizeIs(6 + 2)) << "no node in the second list";
    EXPECT_EQ(log.back(), "1 1922 End ID Map: UnsetRootNode exit");
    manager().AppendChild(tree_.GetInner("a"), tree_["b"]);
    manager().SetRootNode(tree_.GetInner("a"));
    log = takeLog(c_logIDMap);
    EXPECT_THAT(log, testing::SizeIs(2 + 4));
    EXPECT_EQ(log.back(), "1 1922 End ID Map: SetRootNode exit");
    unsetRoot();
    (void)recorder_.TakeRecords();
    manager().UnsetRootNode(); // there is none
    EXPECT_TRUE(recorder_.TakeRecords().empty());
}

} // namespace
