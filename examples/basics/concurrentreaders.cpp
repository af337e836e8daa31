// Three threads read a tree while a fourth one edits it.
//
// The editor moves two scans by opposite ways under one write lock, so the mean position of all
// scans never changes. A reader that saw half of an edit would find another mean.
//
// Prints:
//     1000 edits, each seen by a reader; all means are 0 mm
#include <atomic>
#include <iostream>
#include <thread>
#include <transformationtree/transformationtree.h>
#include <vector>

namespace
{

using Manager = ZeCTransformationNodeManager;

CbMatrix4Rd alongX(double millimetres)
{
    CbMatrix4Rd pose;
    pose[3][0] = millimetres;
    return pose;
}

double meanOf(const ZeCTransformationNodeInner& root)
{
    double sum = 0;
    int count = 0;
    for (const auto& [leaf, trafo] : root.Leaves()) {
        sum += trafo[3][0];
        ++count;
    }
    return sum / count;
}

} // namespace

int main()
{
    CyDataManager dataManager;
    auto& manager = CbSingleton<Manager>::GetInstance();
    if (!manager.SetDataManager(dataManager, dataManager.GetTopNode())) return 1;

    const auto root = manager.CreateRootNode();
    std::vector<Manager::Leaf> leaves;
    {
        const auto lock = manager.GetSingleWriteHandleLocked(root);
        for (int i = 0; i < 20; ++i) {
            leaves.push_back(manager.CreateLeafNode(CbMake<ZeCModelQMT>()));
            manager.AppendChild(root, leaves.back());
        }
    }

    std::atomic<int> wrongMeans{0};
    std::atomic<int> meansRead{0};
    std::atomic<bool> isDone{false};
    {
        std::vector<std::jthread> readers;
        for (int i = 0; i < 3; ++i) {
            readers.emplace_back([&] {
                while (!isDone) {
                    // Read locks of several threads are granted side by side.
                    const auto lock = manager.GetSingleReadHandleLocked(root);
                    if (meanOf(*root) != 0) ++wrongMeans;
                    ++meansRead;
                }
            });
        }
        for (int edit = 1; edit <= 1000; ++edit) {
            const int meansBefore = meansRead;
            {
                const auto lock = manager.GetSingleWriteHandleLocked(root); // covers all below it
                leaves[edit % 10]->SetRelativeTrafo(alongX(edit));
                leaves[10 + edit % 10]->SetRelativeTrafo(alongX(-edit));
            }
            while (meansRead == meansBefore) std::this_thread::yield();
        }
        isDone = true;
    }
    std::cout << "1000 edits, each seen by a reader; " << (wrongMeans == 0 ? "all" : "NOT all")
              << " means are 0 mm\n";

    const auto lock = manager.GetSingleWriteHandleLocked(root);
    manager.UnsetRootNode();
    return manager.UnsetDataManager() && wrongMeans == 0 ? 0 : 1;
}
