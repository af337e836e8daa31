#pragma once

#include "transformationtree/zectransformationtree.h"

namespace scansession
{

/// The tree of a session: Root - Model - clusters.
class SessionTree final : public ZeCTransformationTree
{
public:
    /// Makes root and model node, the root as that of the node manager.
    /// Throws: CbException where the node manager has a root already or no data manager.
    SessionTree();

    [[nodiscard]] Inner GetModelNode() override { return modelNode_; }
    /// Removes all clusters, and says so by messages.
    void Clear() override;

protected:
    ~SessionTree() override;

private:
    Inner modelNode_;
};

} // namespace scansession
