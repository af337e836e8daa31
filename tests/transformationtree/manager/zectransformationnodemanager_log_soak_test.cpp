#include "platform/base/cbexception.h"
#include "tests/support/logrecorder.h"
#include "tests/support/managerfixture.h"

using ANodeManager = NodeManagerTest;

TEST_F(ANodeManager, LogsThatTheTimeIsOver)
{
    const Scenario tree("root(leaf)", Scenario::EBuilder::Manager);
    manager().SetRootNode(tree.GetRootInner());
    const auto held =
        lockElsewhere([&] { return manager().GetSingleWriteHandleLocked(tree.GetRoot()); });
    LogRecorder recorder;
    const auto asked = manager().GetWriteHandle(tree["leaf"]);
    EXPECT_THROW(manager().Lock(), CbException);
    const std::string logged = recorder.TakeRecords().back().text.ToUtf8();
    EXPECT_THAT(logged, testing::StartsWith(
                            "Cause: Timeout (nodes not released during WaitTime of 10s!\n"));
}
