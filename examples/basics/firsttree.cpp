// Builds a tree of one cluster and one scan, and walks it.
//
// Prints:
//     upper jaw, scan 1 at x = 12.5 mm
#include <iostream>
#include <transformationtree/transformationtree.h>

int main()
{
    CyDataManager dataManager; // the application's data tree; it grants the locks
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    if (!manager.SetDataManager(dataManager, dataManager.GetTopNode())) return 1;

    const auto root = manager.CreateRootNode();
    {
        const auto lock = manager.GetSingleWriteHandleLocked(root);
        const auto cluster = manager.CreateInnerNode();
        manager.AppendChild(root, cluster);
        CbMatrix4Rd pose;  // the identity
        pose[3][0] = 12.5; // 12.5 mm along x
        const auto leaf = manager.CreateLeafNode(CbMake<ZeCModelQMT>());
        leaf->SetDescription(CB_TEXT("upper jaw, scan 1"));
        leaf->SetRelativeTrafo(pose);
        manager.AppendChild(cluster, leaf);
    }
    {
        const auto lock = manager.GetSingleReadHandleLocked(root);
        for (const auto& [leaf, trafo] : root->Leaves()) {
            std::cout << leaf.GetDescription().ToUtf8() << " at x = " << trafo[3][0] << " mm\n";
        }
    }
    const auto lock = manager.GetSingleWriteHandleLocked(root);
    manager.UnsetRootNode(); // takes the tree apart, and drops its ids
    return manager.UnsetDataManager() ? 0 : 1;
}
