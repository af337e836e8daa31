#include "transformationtree/tree/zectransformationtree.h"

#include "platform/base/cbexceptionunknownextension.h"
#include "platform/base/cbformat.h"
#include "transformationtree/manager/internal/creatednodes.h"
#include "transformationtree/manager/zectransformationnodemanager.h"
#include "transformationtree/nodes/internal/fixedplaces.h"
#include "transformationtree/tree/internal/changemessages.h"
#include "transformationtree/tree/zectransformationtreeutility.h"

#include <string>
#include <utility>

namespace
{

using Inner = ZeITransformationTree::Inner;
using ConstInner = ZeITransformationTree::ConstInner;
using EModified = ZeCMessageTreeStructureModified::EModificationType;

// The inner node at a position of a node's children, or null.
Inner innerChild(const Inner& node, unsigned int position)
{
    if (!node || node->GetNrChildren() <= position) return nullptr;
    const auto& child = node->BeginChild()[position];
    return child ? Inner(child->AsInner()) : nullptr;
}

} // namespace

ZeCTransformationTree::ZeCTransformationTree() = default;

ZeCTransformationTree::~ZeCTransformationTree()
{
    // At exit the node manager may be gone, and is not to be made anew. The utility may be: it has
    // no state, and nobody else need have used it.
    if (!CbSingleton<ZeCTransformationNodeManager>::HasInstance()) return;
    if (!ZeCTransformationNodeManager::IsNodeInDataManager(root_)) return;
    try {
        CbSingleton<ZeCTransformationTreeUtility>::GetInstance().RemoveSubtree(root_, false);
    } catch (...) {
        // What cannot be removed for want of memory stays with the node manager.
    }
}

const IExtensionInterface* ZeCTransformationTree::GetExtension(const char* name,
                                                               bool throwIfUnknown) const
{
    if (!throwIfUnknown) return nullptr;
    constexpr FixedPlace place = FixedPlaces::c_unknownExtension;
    throw CbExceptionUnknownExtension(place.file, place.line, {},
                                      name != nullptr ? "unknown: " + std::string(name)
                                                      : "the name is null");
}

IExtensionInterface* ZeCTransformationTree::GetExtension(const char* name, bool throwIfUnknown)
{
    return const_cast<IExtensionInterface*>(
        std::as_const(*this).GetExtension(name, throwIfUnknown));
}

ConstInner ZeCTransformationTree::GetRoot() const
{
    // The application may override the other one, which reads only.
    return const_cast<ZeCTransformationTree*>(this)->GetRoot();
}

Inner ZeCTransformationTree::GetRoot()
{
    const CbCriticalSectionLock lock(rootLock_);
    return root_;
}

void ZeCTransformationTree::SetRoot(Inner root) { setRoot(std::move(root)); }

void ZeCTransformationTree::setRoot(Inner root) // the old root goes with the parameter
{
    const CbCriticalSectionLock lock(rootLock_);
    root_.Swap(root);
}

ConstInner ZeCTransformationTree::GetModelNodeConst() const
{
    return const_cast<ZeCTransformationTree*>(this)->GetModelNode();
}

Inner ZeCTransformationTree::GetActiveClusterForModel(const Inner& modelNode)
{
    if (!modelNode) return nullptr;
    const auto child = modelNode->BackChild();
    return child ? Inner(child->AsInner()) : nullptr;
}

Inner ZeCTransformationTree::GetActiveCluster() { return GetActiveClusterForModel(GetModelNode()); }

ConstInner ZeCTransformationTree::GetActiveCluster() const
{
    return const_cast<ZeCTransformationTree*>(this)->GetActiveCluster();
}

std::uint64_t ZeCTransformationTree::GetClusterCount() const
{
    const auto modelNode = GetModelNodeConst();
    return modelNode ? modelNode->GetNrChildren() : 0;
}

Inner ZeCTransformationTree::NewCluster(bool postMessages)
{
    return newClusterForModel(GetModelNode(), postMessages);
}

Inner ZeCTransformationTree::CreateNewCluster(const Inner& modelNode, bool postMessages)
{
    return newClusterForModel(modelNode, postMessages);
}

// The cluster is complete before it comes into the tree.
Inner ZeCTransformationTree::newClusterForModel(const Inner& modelNode, bool postMessages)
{
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    CreatedNodes created(manager);
    ChangeMessages messages;
    auto cluster = created.CreateInner(CbFormat(CB_TEXT("Cluster %d"), clusterCounter_));
    const auto tell = [&](const Inner& node, const Inner& father, EModified what) {
        if (postMessages) messages.AddTreeStructureModified(node, father, what);
    };
    tell(cluster, modelNode, EModified::eClusterCreated);
    for (const CString* description :
         {&getOptimizerDescription(), &getCollectorDescription(), &getClipboardDescription()}) {
        const auto node = created.CreateInner(*description);
        manager.AppendChild(cluster, node, true);
        tell(node, cluster, EModified::eNodeAdded);
    }
    manager.AppendChild(modelNode, cluster, true);
    // As if the cluster had been appended before its nodes were made.
    constexpr auto all = ZeCTransformationNode::c_allRevisions;
    for (auto i = cluster->BeginChild(); i != cluster->EndChild(); ++i) (*i)->NewNodeRevision(all);
    cluster->NewNodeRevision(all);
    created.Keep();
    ++clusterCounter_;
    messages.Post();
    return cluster;
}

void ZeCTransformationTree::RemoveCluster(const Inner& cluster)
{
    CbSingleton<ZeCTransformationTreeUtility>::GetInstance().RemoveSubtree(cluster, false);
}

Inner ZeCTransformationTree::GetOptimizerNode(const Inner& node) { return innerChild(node, 0); }

Inner ZeCTransformationTree::GetCollectorNode(const Inner& node) { return innerChild(node, 1); }

Inner ZeCTransformationTree::GetClipboardNode(const Inner& node) { return innerChild(node, 2); }

void ZeCTransformationTree::GetClusterNodes(const Inner& node, Clusters& clusters)
{
    if (!node) return;
    for (auto child = node->BeginChild(); child != node->EndChild(); ++child) {
        Inner inner(*child ? (*child)->AsInner() : nullptr);
        // Clusters are known by their shape and the first node's description alone.
        if (!inner || inner->GetNrChildren() != 3) continue;
        const auto first = inner->FrontChild();
        if (first && first->GetDescription() == getOptimizerDescription()) {
            clusters.Append(std::move(inner));
        }
    }
}

// Stored with the nodes, by which clusters are found again.
const CString& ZeCTransformationTree::getOptimizerDescription()
{
    static const CString description = CB_TEXT("Optimizer");
    return description;
}

const CString& ZeCTransformationTree::getCollectorDescription()
{
    static const CString description = CB_TEXT("Collector");
    return description;
}

const CString& ZeCTransformationTree::getClipboardDescription()
{
    static const CString description = CB_TEXT("Clipboard");
    return description;
}
