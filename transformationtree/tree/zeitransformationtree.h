#pragma once

#include "platform/base/cblist.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/base/iextensioninterface.h"
#include "platform/base/ireferencecounted.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"

#include <cstdint>

/// One handle on a whole registration hierarchy: its root, its clusters and their shape.
///
/// Clusters are the children of the model node, and the last one is the active cluster.
/// ZeCTransformationTree implements what does not depend on the application.
///
/// Threads: GetRoot() may be called any time. The others read or edit nodes, so handles of the node
/// manager guard them: a read handle on the model node or above it to look something up, a write
/// handle on the model node to create a cluster.
class TRANSFORMATIONTREE_API ZeITransformationTree : public IExtensionInterface,
                                                     public IReferenceCounted
{
public:
    /// As operations take and return them. Null only if the operation says so.
    using Inner = CbSmartPointer<ZeCTransformationNodeInner>;
    using ConstInner = CbSmartPointer<const ZeCTransformationNodeInner>;
    /// A list of the caller's, to which clusters are appended.
    using Clusters = CbList<Inner, 17, unsigned int>;

    ZeITransformationTree(const ZeITransformationTree&) = delete;
    ZeITransformationTree& operator=(const ZeITransformationTree&) = delete;

    // The order in which the virtual functions are declared, the bases' first, is part of the
    // interface.

    /// Returns the root, or null.
    [[nodiscard]] virtual ConstInner GetRoot() const = 0;
    [[nodiscard]] virtual Inner GetRoot() = 0;
    /// Returns the last child of the model node; null if that is no inner node, or there is no
    /// child or no model node.
    [[nodiscard]] virtual ConstInner GetActiveCluster() const = 0;
    [[nodiscard]] virtual Inner GetActiveCluster() = 0;
    /// Number of children of the model node, whatever their shape; 0 without a model node.
    [[nodiscard]] virtual std::uint64_t GetClusterCount() const = 0;
    /// Returns the node below which clusters hang, or null.
    [[nodiscard]] virtual Inner GetModelNode() = 0;
    /// Creates a cluster with its special nodes, appends it to a model node and returns it. With
    /// @p postMessages, tells subscribers. Throws: CbException for a null model node.
    virtual Inner CreateNewCluster(const Inner& modelNode, bool postMessages) = 0;
    /// Clears the tree. What that takes away is the concrete tree's decision; the library never
    /// calls it.
    virtual void Clear() = 0;
    /// Appends the children of a node that have the shape of a cluster to a list, which keeps what
    /// it holds. Null appends none.
    virtual void GetClusterNodes(const Inner& node, Clusters& clusters) = 0;

protected:
    ZeITransformationTree() = default;
    ~ZeITransformationTree() override;
};
