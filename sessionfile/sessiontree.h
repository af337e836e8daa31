#pragma once

#include "transformationtree/tree/zectransformationtree.h"

namespace sessionfile
{

/// The tree of a session: Root - Model - clusters.
class SessionTree final : public ZeCTransformationTree
{
public:
    /// Makes root and model node, the root as that of the node manager.
    /// Throws: CbException if the node manager has a root already or no data manager.
    SessionTree();
    /// Takes over a tree that was read, its root as that of the node manager. The model node is the
    /// root's child described "Model", null if there is none.
    /// Throws: as the other.
    explicit SessionTree(const Inner& root);

    [[nodiscard]] Inner GetModelNode() override { return modelNode_; }
    /// Removes all clusters, and says so by messages.
    void Clear() override;

protected:
    ~SessionTree() override;

private:
    Inner modelNode_;
};

} // namespace sessionfile
