// The subtrees of scans take another shape; where the scans lie stays as it is.

#include "examples/scansession/session/session.h"
#include "platform/math3d/cbmatrixinternal.h"
#include "transformationtree/transformationtree.h"

namespace scansession
{

namespace
{

ZeCTransformationNodeManager& Manager()
{
    return CbSingleton<ZeCTransformationNodeManager>::GetInstance();
}

ZeCTransformationTreeUtility& Utility()
{
    return CbSingleton<ZeCTransformationTreeUtility>::GetInstance();
}

bool HasScans(const Session::Inner& node) { return node && !node->EmptyLeafs(); }

} // namespace

void Session::JoinClusters()
{
    const auto all = clusters();
    const auto root = tree_->GetRoot();
    const auto lock = Manager().GetSingleWriteHandleLocked(tree_->GetModelNode());
    Inner target;
    for (const auto& cluster : all) {
        const auto source = sessionfile::SessionTree::GetOptimizerNode(cluster);
        if (!HasScans(source)) continue;
        if (!target) {
            target = source;
            continue;
        }
        if (cluster->GetNrLeafNodes() != source->GetNrLeafNodes()) continue; // others beside it
        CbMatrix4Rd rootToTarget = target->GetRelativeTrafo(root);
        CbMatrixInternal::Invert(rootToTarget);
        const auto sourceToTarget = Compose(source->GetRelativeTrafo(root), rootToTarget);
        Utility().MergeInnerNodes(source, target, sourceToTarget, true);
        if (cluster->EmptyLeafs()) Utility().RemoveSubtree(cluster, true);
    }
}

void Session::CollapseClusters()
{
    forEachOptimizer([](const Inner& optimizer) { Utility().CollapseAll(optimizer, true); });
}

void Session::NormalizeClusters(int maxChildren)
{
    forEachOptimizer([&](const Inner& optimizer) {
        Utility().NormalizeTreeStructure(optimizer, maxChildren, true);
    });
}

void Session::forEachOptimizer(const std::function<void(const Inner&)>& edit)
{
    const auto all = clusters();
    const auto lock = Manager().GetSingleWriteHandleLocked(tree_->GetModelNode());
    for (const auto& cluster : all) {
        if (const auto optimizer = sessionfile::SessionTree::GetOptimizerNode(cluster))
            edit(optimizer);
    }
}

} // namespace scansession
