#pragma once

#include "tests/support/treetestaccess.h"
#include "transformationtree/manager/zectransformationnodemanager.h"

#include <gtest/gtest.h>

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
        TestAccess::DestroySingleton<Manager>();
        EXPECT_TRUE(dataNode->GetChildren().empty());
    }

    static Manager& manager() { return CbSingleton<Manager>::GetInstance(); }

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

    CyDataManager dataManager;
    CbSmartPointer<CyNode> dataNode = CbMake<CyNode>();
};
