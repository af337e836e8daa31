#pragma once

#include "tests/support/scenario.h"

#include <gmock/gmock.h>
#include <thread>

/// Tests of the node manager: each finds a new manager, linked to a data manager of its own.
class NodeManagerTest : public testing::Test
{
protected:
    using Manager = ZeCTransformationNodeManager;

    NodeManagerTest()
    {
        EXPECT_FALSE(CbSingleton<Manager>::HasInstance());
        EXPECT_TRUE(dataManager.InsertNode(dataManager.GetTopNode(), dataNode));
        EXPECT_TRUE(manager().SetDataManager(dataManager, dataNode));
    }
    ~NodeManagerTest() override
    {
        unsetRoot();
        EXPECT_TRUE(manager().UnsetDataManager());
        DestroySingleton<Manager>();
        EXPECT_TRUE(dataNode->GetChildren().empty());
    }

    static Manager& manager() { return TheManager(); }

    /// Unsets the root, if there is one, under a write lock.
    static void unsetRoot()
    {
        const auto root = manager().GetRootNode();
        if (!root) return;
        const auto handle = manager().GetWriteHandle(root);
        EXPECT_TRUE(manager().TryLock());
        manager().UnsetRootNode();
        EXPECT_FALSE(manager().GetRootNode());
    }

    /// A lock of a thread that has ended since; it lasts as long as the handle.
    template<class Lock>
    static auto lockElsewhere(const Lock& lock)
    {
        decltype(lock()) handle;
        std::thread([&] { handle = lock(); }).join();
        return handle;
    }

    CyDataManager dataManager;
    CbSmartPointer<CyNode> dataNode = CbMake<CyNode>();
};
