#pragma once

#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbreferencecounted.h"
#include "platform/base/cstring.h"
#include "transformationtree/tree/zeitransformationtree.h"

#include <cstdint>

/// The part of a tree object that all applications share: root, clusters and their special nodes.
///
/// A cluster is a group of scans: an inner node described "Cluster 0", "Cluster 1" and so on, whose
/// first three children are the inner nodes "Optimizer", "Collector" and "Clipboard". The
/// application hangs its scans below them.
///
/// A concrete tree says which node is the model node and what clearing means. It links its root to
/// the data manager itself, through the node manager.
///
/// Threads: as ZeITransformationTree says. The cluster counter has no guard of its own: one thread
/// at a time creates clusters.
///
/// @code
/// const auto lock = manager.GetSingleWriteHandleLocked(tree->GetModelNode());
/// const auto optimizer = ZeCTransformationTree::GetOptimizerNode(tree->NewCluster(true));
/// @endcode
class TRANSFORMATIONTREE_API ZeCTransformationTree : public ZeITransformationTree,
                                                     public CbReferenceCounted
{
public:
    /// A tree offers no extensions.
    [[nodiscard]] const IExtensionInterface* GetExtension(const char* name,
                                                          bool throwIfUnknown) const override;
    [[nodiscard]] IExtensionInterface* GetExtension(const char* name, bool throwIfUnknown) override;

    [[nodiscard]] ConstInner GetRoot() const override;
    [[nodiscard]] Inner GetRoot() override;
    [[nodiscard]] ConstInner GetActiveCluster() const override;
    [[nodiscard]] Inner GetActiveCluster() override;
    [[nodiscard]] std::uint64_t GetClusterCount() const override;
    /// Creates a cluster named by the counter, which only grows: removing a cluster frees no name.
    /// With @p postMessages, posts "cluster created" for the cluster and "node added" for each of
    /// its special nodes.
    /// Throws: as AppendChild() of the node manager, and nothing has changed then, unless the queue
    /// of messages cannot grow: the cluster stays and the rest of its messages is lost.
    Inner CreateNewCluster(const Inner& modelNode, bool postMessages) override;
    /// A child counts as a cluster if it is an inner node with exactly three children, the first of
    /// which is described "Optimizer". Looks at direct children only.
    void GetClusterNodes(const Inner& node, Clusters& clusters) override;
    /// Sets the root, which may be null. Linking it to the data manager is the caller's business.
    /// Threads: any time.
    virtual void SetRoot(Inner root);

    /// GetModelNode() for readers.
    [[nodiscard]] ConstInner GetModelNodeConst() const;
    /// CreateNewCluster() for the model node.
    Inner NewCluster(bool postMessages);
    /// Removes a cluster and everything below it, without messages. The counter stays.
    void RemoveCluster(const Inner& cluster);

    /// Returns the last child of a model node; null if there is none, or for null.
    [[nodiscard]] static Inner GetActiveClusterForModel(const Inner& modelNode);
    /// Returns child 0, 1 or 2 of a cluster, whatever its description; null if the node is null
    /// or has fewer children, or the child is a leaf.
    [[nodiscard]] static Inner GetOptimizerNode(const Inner& node);
    [[nodiscard]] static Inner GetCollectorNode(const Inner& node);
    [[nodiscard]] static Inner GetClipboardNode(const Inner& node);

protected:
    /// A tree without root; its first cluster will be "Cluster 0".
    ZeCTransformationTree();
    /// Removes what stands below a root in the data manager, and the root's id. The root itself
    /// stays in the data manager until the application unsets it. No other thread may hold a lock
    /// there.
    ~ZeCTransformationTree() override;

    /// The descriptions by which the special nodes of clusters are made and found.
    [[nodiscard]] static const CString& getOptimizerDescription();
    [[nodiscard]] static const CString& getCollectorDescription();
    [[nodiscard]] static const CString& getClipboardDescription();

    /// What SetRoot() does.
    void setRoot(Inner root);
    /// What CreateNewCluster() does.
    Inner newClusterForModel(const Inner& modelNode, bool postMessages);

    [[nodiscard]] CbReferenceCounter& getReferenceCounter() const noexcept override
    {
        return CbReferenceCounted::getReferenceCounter();
    }

private:
    Inner root_ CB_GUARDED_BY(rootLock_);
    CbCriticalSection rootLock_;
    std::int32_t clusterCounter_ = 0; ///< number of the next cluster; only grows
};
