// An optimisation loop: walks the scans, reads their poses in the root's frame, and sets new ones.
//
// Neighbouring scans should lie 5 mm from each other, as far as two fixed ones at the ends allow.
// In each round every scan goes to the middle between its neighbours (relaxation). The cluster of
// the second half lies elsewhere: SetTrafoToTraversalRoot() takes that into account.
//
// Prints:
//     round  1: scans moved by up to 2.000 mm
//     round 10: scans moved by up to 0.199 mm
//     round 20: scans moved by up to 0.047 mm
//     round 30: scans moved by up to 0.011 mm
//     scans at 0.00 4.99 9.99 14.98 19.99 24.99 30.00 mm
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
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

std::vector<double> positionsOf(const ZeCTransformationNodeInner& root)
{
    std::vector<double> positions;
    for (const auto& [leaf, trafo] : root.Leaves()) positions.push_back(trafo[3][0]);
    return positions;
}

// Returns by how much a scan was moved at most.
double relax(const Manager::Inner& root)
{
    const std::vector<double> x = positionsOf(*root);
    double farthest = 0;
    std::size_t i = 0;
    for (auto scan = root->BeginLeaf(); scan; ++scan, ++i) {
        if (i == 0 || i + 1 == x.size()) continue; // the fixed ones
        const double middle = (x[i - 1] + x[i + 1]) / 2;
        farthest = std::max(farthest, std::fabs(middle - x[i]));
        // Poses of leaves may be set while the tree is walked, unlike its structure.
        (*scan).SetTrafoToTraversalRoot(alongX(middle));
    }
    return farthest;
}

} // namespace

int main()
{
    CyDataManager dataManager;
    auto& manager = CbSingleton<Manager>::GetInstance();
    if (!manager.SetDataManager(dataManager, dataManager.GetTopNode())) return 1;

    const auto root = manager.CreateRootNode();
    // Nobody else is interested in the poses before they are good: one lock for all rounds.
    const auto lock = manager.GetSingleWriteHandleLocked(root);
    const auto first = manager.CreateInnerNode();
    const auto second = manager.CreateInnerNode();
    second->SetRelativeTrafo(alongX(12));
    manager.AppendChild(root, first);
    manager.AppendChild(root, second);
    for (const double x : {0.0, 4.0, 11.0}) {
        const auto leaf = manager.CreateLeafNode(CbMake<ZeCModelQMT>());
        leaf->SetRelativeTrafo(alongX(x));
        manager.AppendChild(first, leaf);
    }
    for (const double x : {2.0, 6.0, 12.0, 18.0}) { // in the second cluster's frame
        const auto leaf = manager.CreateLeafNode(CbMake<ZeCModelQMT>());
        leaf->SetRelativeTrafo(alongX(x));
        manager.AppendChild(second, leaf);
    }

    for (int round = 1; round <= 30; ++round) {
        const double farthest = relax(root);
        if (round == 1 || round % 10 == 0) {
            std::printf("round %2d: scans moved by up to %.3f mm\n", round, farthest);
        }
    }
    std::printf("scans at");
    for (const double x : positionsOf(*root)) std::printf(" %.2f", x);
    std::printf(" mm\n");

    manager.UnsetRootNode();
    return manager.UnsetDataManager() ? 0 : 1;
}
