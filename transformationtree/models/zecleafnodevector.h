#pragma once

#include "platform/base/cbclonableobject.h"
#include "platform/base/cbobject.h"
#include "platform/base/cbrtti.h"
#include "platform/datacontainer/models/qmt_depthimage.h"
#include "transformationtree/models/zecnodeaccelerated.h"

#include <cstdint>
#include <vector>

/// The nodes of a subtree as a plain list: with their models, transformations and revisions as they
/// are at one moment.
///
/// @code
/// const ZeCNodeVector scans(root, ZeCNodeVector::itLeaf, c_matIdentityD, 0);
/// for (const auto& scan : scans.GetElements()) Register(scan.GetModel(), scan.GetTrafo());
/// @endcode
///
/// The list does not follow the tree and keeps its nodes and models alive. It may live on the heap
/// behind a smart pointer, or anywhere else without one.
///
/// Threads: a vector is one thread's; filling it needs a read handle on the top node.
class TRANSFORMATIONTREE_API ZeCNodeVector final : public CbClonableObject<ZeCNodeVector, CbObject>
{
public:
    /// In the order of the walk that collected them, of adding or of reading.
    using Elements = std::vector<ZeCNodeAccelerated>;

    /// Which nodes SetInnerNode() collects. Other values name none.
    enum IteratorType : std::int32_t
    {
        itCachedLeaf = 0, ///< leaves and, instead of what is below them, nodes with a cached model
        itLeaf = 1,
        itNode = 2 ///< all, the top node first
    };

    /// The class's type record.
    static const CbRTTI RTTI;

    /// An empty vector.
    ZeCNodeVector() = default;
    /// A vector filled as by SetInnerNode().
    ZeCNodeVector(const CbSmartPointer<const ZeCTransformationNode>& node, IteratorType type,
                  const CbMatrix4Rd& matrix, unsigned int revisionMask);
    ZeCNodeVector(const ZeCNodeVector&) = default;
    ZeCNodeVector& operator=(const ZeCNodeVector&) = default;
    ~ZeCNodeVector() override;

    /// The elements in the order of their coming.
    [[nodiscard]] const Elements& GetElements() const noexcept { return elements_; }
    /// Returns the models that are depth images, in order; those of derived classes are left out.
    [[nodiscard]] std::vector<CbSmartPointer<const QMT_DepthImage>> GetDepthImageVector() const;

    /// Replaces the elements by those for the nodes at and below @p node, in pre-order; by none for
    /// null.
    /// @param matrix from the frame of @p node into the one that the transformations lead to
    /// @param revisionMask which subtree revisions to take, by bits 0 to 2; 0 for none
    /// Throws: CyExceptionNotInvertible if a father's transformation into the frame of @p node
    /// is singular; the vector stays as it was.
    /// Cost: linear in the number of nodes at and below @p node.
    void SetInnerNode(const CbSmartPointer<const ZeCTransformationNode>& node, IteratorType type,
                      const CbMatrix4Rd& matrix, unsigned int revisionMask);
    /// Adds an element for a node, which may be null, without revisions.
    void AddNode(CbSmartPointer<ZeCTransformationNode> node, const CbMatrix4Rd& trafo);

    /// Writes the record, with nodes as ids.
    void Serialize(CbStreamWriteBinary& stream) const;
    /// Replaces the elements by those that were written. Nodes come from the mapper of their ids,
    /// models and collections from the nodes. A node that the mapper does not know is null.
    /// Throws: CbExceptionWrongFileVersion, and the vector stays as it was; CbExceptionStream, and
    /// the elements that were read by then are kept.
    void Serialize(CbStreamReadBinary& stream);

private:
    friend struct treetests::TestAccess;

    // What follows the version. Version 1 has no revisions and is written to test its reader.
    void writeVersion1(CbStreamWriteBinary& stream) const;
    void writeVersion2(CbStreamWriteBinary& stream) const;
    void readVersion1(CbStreamReadBinary& stream);
    void readVersion2(CbStreamReadBinary& stream);

    /// Takes the subtree revisions of elements that stand for all nodes of a subtree, in pre-order.
    static void takeRevisionsOfAll(Elements& elements, unsigned int mask);

    Elements elements_;
};
