#pragma once

#include "platform/base/cbsmartpointer.h"
#include "platform/datacontainer/models/zecmodelqmt.h"
#include "platform/math3d/cbmatrix4.h"
#include "transformationtree/nodes/zectransformationnode.h"
#include "transformationtree/nodes/zetnoderevision.h"
#include "transformationtree/transformationtreeapi.h"

#include <array>

/// An element of a node vector: a node with what loops over models need at hand.
///
/// Model and collection are those that the node had when the element was made or read.
class TRANSFORMATIONTREE_API ZeCNodeAccelerated
{
public:
    /// The newest revisions of the node's subtree, one for each bit of a revision mask; -1 if it
    /// was not taken.
    using Revisions = std::array<ZeTNodeRevision, 3>;

    /// An element without node.
    ZeCNodeAccelerated() = default;
    /// An element for a node, which may be null, without revisions.
    ZeCNodeAccelerated(CbSmartPointer<ZeCTransformationNode> node, const CbMatrix4Rd& trafo);

    /// The node, or null.
    [[nodiscard]] const CbSmartPointer<ZeCTransformationNode>& GetNode() const noexcept
    {
        return node_;
    }
    /// The node's model, or null.
    [[nodiscard]] const CbSmartPointer<const ZeCModelQMT>& GetModel() const noexcept
    {
        return model_;
    }
    /// The model's standard collection, or null.
    [[nodiscard]] const CbSmartPointer<const ZeCSurfelCollectionQMT>&
    GetSurfelCollection() const noexcept
    {
        return collection_;
    }
    /// The transformation from the node's frame into the frame that the vector was made for.
    [[nodiscard]] const CbMatrix4Rd& GetTrafo() const noexcept { return trafo_; }
    /// The revisions as they were when the element was made or read.
    [[nodiscard]] const Revisions& GetRevisions() const noexcept { return revisions_; }

private:
    friend class ZeCNodeVector;

    /// Sets the revisions that a mask of bits 0 to 2 selects; other bits mean nothing.
    void takeRevisions(unsigned int mask);
    /// Raises the revisions that the mask selects to those of the node alone, or of an element
    /// below it.
    void raiseToOwnRevisions(unsigned int mask);
    void raiseRevisions(const ZeCNodeAccelerated& below) noexcept;

    // The two parts of a record. The second one came with version 2.
    void writeNode(CbStreamWriteBinary& stream) const;
    void writeRevisions(CbStreamWriteBinary& stream) const;
    void readNode(CbStreamReadBinary& stream);
    void readRevisions(CbStreamReadBinary& stream);

    CbSmartPointer<ZeCTransformationNode> node_;
    CbSmartPointer<const ZeCModelQMT> model_;
    CbSmartPointer<const ZeCSurfelCollectionQMT> collection_;
    CbMatrix4Rd trafo_;
    Revisions revisions_{-1, -1, -1};
};
