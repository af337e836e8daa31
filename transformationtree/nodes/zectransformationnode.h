#pragma once

#include "platform/attributes/zearttiattributecontainer.h"
#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbrtti.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/base/cbweakpointer.h"
#include "platform/base/cstring.h"
#include "platform/base/cyuniqueid.h"
#include "platform/datacontainer/models/zecmodelqmt.h"
#include "platform/datatree/cynode.h"
#include "platform/math3d/cbmatrix4.h"
#include "platform/math3d/cyboundingbox3d.h"
#include "transformationtree/nodes/zetnoderevision.h"
#include "transformationtree/transformationtreeapi.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

class CbStreamReadBinary;
class CbStreamWriteBinary;
class CyBoundingSphere;
class ZeCNodeVector;
class ZeCTransformationNodeInner;
class ZeCTransformationNodeLeaf;
namespace treetests
{
struct TestAccess;
}

/// A node of the transformation tree: what leaves and inner nodes share.
///
/// A node has an id, a description, a visibility flag, a transformation from its own frame into its
/// father's frame, a model (a leaf's scan, or the cached merged model of an inner node), two
/// revisions and typed attributes. Lengths are millimetres.
///
/// - Fathers own their children, the link to the father is weak.
/// - Nodes are created and linked by ZeCTransformationNodeManager only.
/// - A copied node is a detached twin: it has a new id and neither father nor model nor attributes.
///
/// Threads: handles of the node manager guard a node: a read handle on it or above it for the const
/// functions, a write handle for the others. Only revisions have a lock of their own, and
/// GetFather() may run while the father is destroyed.
class TRANSFORMATIONTREE_API ZeCTransformationNode : public CyNode
{
public:
    class ZeNNodeIterator;
    class ZeNLeafNodeIterator;
    class ZeNCachedLeafNodeIterator;
    class ZeNInnerNodeIterator;
    class ZeNFatherIterator;
    class ZeNSurfelIterator;
    class ZeNRandomAccessSurfelIterator;
    class ZeNRandomSamplingSurfelIterator;
    template<class Iterator>
    class ZeTNodeRange;
    class ZeCSurfelRange;

    /// What AssumeAttributes() takes over; compared as a whole, not bit by bit.
    enum class EAttributesToCopy : std::uint32_t
    {
        Properties = 0,        ///< transformation, description and visibility
        PropertiesAndModel = 1 ///< an inner node's cached model as well
    };

    /// The class's type record; abstract.
    static const CbRTTI RTTI;

    ZeCTransformationNode& operator=(const ZeCTransformationNode&) = delete;

    /// @name Identity
    /// @{

    /// Returns the id. May be called through a null pointer, which gives GetInvalidID().
    [[nodiscard]] CyUniqueID GetID() const;
    /// Returns the id of a node, for null GetInvalidID().
    [[nodiscard]] static const CyUniqueID& GetIDOf(const ZeCTransformationNode* node) noexcept
    {
        return node != nullptr ? node->id_ : GetInvalidID();
    }
    /// The id that no node has: "00000000-0000-0000-0000-000000000000".
    [[nodiscard]] static const CyUniqueID& GetInvalidID() noexcept;
    /// @}

    /// @name Description and visibility
    /// @{

    /// Free text, empty from the start. Lifetime: until it is set anew.
    [[nodiscard]] const CString& GetDescription() const noexcept { return description_; }
    /// Sets the description, and that of an inner node's cached model with it. A leaf's model keeps
    /// the one that it was captured with.
    void SetDescription(const CString& description);

    /// Whether the node is to be shown; false from the start but for leaves made for a model.
    [[nodiscard]] bool IsVisible() const noexcept { return visible_; }
    /// Sets the visibility. No revision changes.
    void SetVisible(bool visible) noexcept { visible_ = visible; }
    /// @}

    /// Returns the father, or null for a root, a detached node or one whose father is being
    /// destroyed. Threads: any time.
    [[nodiscard]] CbSmartPointer<ZeCTransformationNodeInner> GetFather() const;
    /// True if @p father is the father. Threads: any time. Counts no references.
    [[nodiscard]] bool IsChildOf(const ZeCTransformationNodeInner& father) const noexcept;

    /// @name Relative transformation
    /// @{

    /// The transformation from this node's frame into the father's frame.
    [[nodiscard]] const CbMatrix4Rd& GetRelativeTrafo() const noexcept { return relativeTrafo_; }
    /// Sets the transformation into the father's frame and renews the transformation revision.
    void SetRelativeTrafo(const CbMatrix4Rd& trafo);

    /// Returns the transformation from this node's frame into that of @p ancestor.
    /// - For this node itself it is the identity.
    /// - If @p ancestor is null or not above this node, it is the product of the whole chain, the
    ///   transformation of the topmost node included.
    ///
    /// Cost: one product for each level.
    [[nodiscard]] CbMatrix4Rd
    GetRelativeTrafo(const CbSmartPointer<const ZeCTransformationNodeInner>& ancestor) const;
    /// Places the node so that its transformation into the frame of @p ancestor becomes @p trafo,
    /// and renews the transformation revision.
    /// @param ancestor as in GetRelativeTrafo(ancestor) of the father
    ///
    /// Throws: CbException for a node without father, CyExceptionNotInvertible if the father's
    /// transformation to the ancestor is singular; the node stays as it was.
    void SetRelativeTrafo(const CbMatrix4Rd& trafo,
                          const CbSmartPointer<const ZeCTransformationNodeInner>& ancestor);
    /// @}

    /// @name Revisions
    /// Numbers from one counter of the process, each larger than all before it. The counter stops
    /// at the largest number, which it repeats from then on. A mask selects the model revision (bit
    /// 0) and the transformation revision (bit 1); other bits mean nothing. Threads: any time.
    /// @{

    /// The masks of one revision each, and that with which edits of the structure renew a node.
    static constexpr unsigned int c_modelRevision = 1;
    static constexpr unsigned int c_trafoRevision = 2;
    static constexpr unsigned int c_allRevisions = 0xFFFFFFFF;

    /// Gives each selected revision the next number, the model revision first; no other thread's
    /// number comes between the two.
    void NewNodeRevision(unsigned int mask);
    /// Returns the larger of the selected revisions, -1 if none is selected.
    [[nodiscard]] ZeTNodeRevision GetNodeRevision(unsigned int mask) const;
    /// Sets the selected revisions. The counter stays as it is.
    void SetNodeRevision(ZeTNodeRevision revision, unsigned int mask);
    /// @}

    /// @name Attributes
    /// They forward to the attribute container. No revision changes.
    /// @{

    /// The container itself.
    [[nodiscard]] ZeARTTIAttributeContainer& GetAllAttributes() noexcept { return attributes_; }
    [[nodiscard]] const ZeARTTIAttributeContainer& GetAllAttributes() const noexcept
    {
        return attributes_;
    }
    /// Adds the attribute, or puts it in the place of the one of the same type. Null is ignored.
    void SetAttribute(const CbSmartPointer<ZeARTTIAttribute>& attribute);
    /// Takes over the pointers of another container, type by type.
    void SetAttributes(ZeARTTIAttributeContainer& attributes);
    /// Removes the attribute of exactly that type, if there is one.
    void DeleteAttribute(const CbRTTI& type);
    /// Removes the attributes of exactly those types.
    void DeleteAttributes(const std::vector<const CbRTTI*>& types);
    /// Removes all attributes.
    void ClearAttributeContainer();
    /// Resets each attribute; all stay in place.
    void ResetAttributes();
    /// Replaces the attributes by clones of another node's; those that can't be cloned are shared.
    void CopyAttributesFrom(const ZeCTransformationNode& other);
    /// Replaces the attributes by clones of a container's; those that can't be cloned are shared.
    void CopyAttributesFrom(const ZeARTTIAttributeContainer& attributes);
    /// Writes the attribute container's record.
    void SerializeAttributes(CbStreamWriteBinary& stream) const;
    /// Reads the attribute container's record; the attributes stay as they are if it throws.
    void SerializeAttributes(CbStreamReadBinary& stream);
    /// @}

    /// Replaces an inner node's cached model by the merged surfels of the leaves below, in the
    /// node's frame; does nothing for a leaf, whose model is given.
    /// @param accurateCollection which of the leaves' collections to merge
    /// @param cellSize,samplingParameter as of ComputeSubsampling()
    /// @param shiftedGrids whether to sample on 125 grids, shifted by fifths of a cell on each
    ///     axis, and to keep the samples of all. A cell size that is not finite, or whose fifth is
    ///     not above zero, gives a model without surfels then.
    /// @param ignored nothing
    ///
    /// The new model answers for both types of collections. The revision it stands for is -1.
    ///
    /// Throws: as ComputeSubsampling(), and CyExceptionNotInvertible if the accumulated
    /// transformation of a leaf's father is singular; the cached model stays.
    /// Cost: linear; with shifted grids as many surfels as on 125 grids come out, in much less time
    /// than 125 times that for one (see ZeCShiftedGridSampler).
    virtual void CreateModel(bool accurateCollection, float cellSize, float samplingParameter,
                             bool shiftedGrids, float ignored) = 0;
    /// Returns the model: a leaf's scan, or an inner node's cached merged model; null for none.
    [[nodiscard]] virtual CbSmartPointer<const ZeCModelQMT> GetModel() const;
    /// Returns the revision that the model stands for, -1 if that is not known.
    [[nodiscard]] virtual ZeTNodeRevision GetModelRevision() const = 0;
    /// True for leaves, false for inner nodes.
    [[nodiscard]] virtual bool IsLeaf() const = 0;
    /// Returns this node as an inner node, null for a leaf. Include zectransformationnodeinner.h to
    /// use it. Cost: reads the kind; no virtual call.
    [[nodiscard]] ZeCTransformationNodeInner* AsInner() noexcept;
    [[nodiscard]] const ZeCTransformationNodeInner* AsInner() const noexcept;
    /// True if no leaf is at or below the node.
    [[nodiscard]] virtual bool EmptyLeafs() const = 0;
    /// Returns a box around the surfels at or below the node; which frame it is in, and what
    /// @p trafo does, differs between leaves and inner nodes.
    [[nodiscard]] virtual CyBoundingBox3D GetBoundingBox(const CbMatrix4Rd& trafo) const = 0;

    /// Takes over transformation, description and visibility of @p other, but neither id nor
    /// attributes nor revisions. Null changes nothing.
    virtual void AssumeAttributes(const CbSmartPointer<const ZeCTransformationNode>& other,
                                  EAttributesToCopy what);

    /// Returns the newest of the selected revisions at or below the node, -1 for an empty mask.
    /// Cost: linear in the number of nodes.
    [[nodiscard]] virtual ZeTNodeRevision GetNodeRevisionSubtree(unsigned int mask) const = 0;
    /// Brings the newest revisions of the subtree up to its inner nodes. @p out, two numbers,
    /// receives the node's revisions; it may be null for an inner node. Cost: linear in the number
    /// of nodes. Threads: a read handle will do, since revisions have a lock of their own.
    virtual void UpdateNodeRevisionSubtree(ZeTNodeRevision* out) = 0;

    /// @name Structure record
    /// Father, children and model are stored as ids, which the two id mappers resolve. What a
    /// mapper does not know reads as null.
    /// @{

    /// Becomes the node that was written: id, links, model, revisions and all else but attributes.
    /// - Links are set on this side only, by each node's own record. Whoever reads records checks
    ///   that they make one tree, before walking or editing it.
    /// - The counter of revisions stays as it is. New revisions may be smaller than those read, so
    ///   the two are not to be compared.
    ///
    /// Throws: CbExceptionWrongFileVersion, CbExceptionStream; what was read by then is kept.
    virtual void SerializeStructure(CbStreamReadBinary& stream);
    /// Writes the record.
    virtual void SerializeStructure(CbStreamWriteBinary& stream) const;
    /// @}

    /// @name Iteration
    /// Depth-first, fathers before children. Transformations lead into the frame of this node.
    /// Include zectransformationnodeiterators.h to walk.
    ///
    /// Lifetime: a change in the structure of the walked subtree invalidates iterators.
    /// Throws: std::bad_alloc, for paths of more than eight levels; the counts and the front and
    /// back accessors for any.
    /// @{

    /// Stands on this node.
    [[nodiscard]] virtual ZeNNodeIterator BeginNode() const = 0;
    /// Stands on the last node.
    [[nodiscard]] virtual ZeNNodeIterator LastNode() const = 0;
    /// The end of node walks.
    [[nodiscard]] virtual ZeNNodeIterator EndNode() const = 0;
    /// Returns the last node, which is this one if nothing is below it.
    [[nodiscard]] virtual CbSmartPointer<ZeCTransformationNode> BackNode() const = 0;
    /// Stands on the first leaf, or is the end if there is none.
    [[nodiscard]] virtual ZeNLeafNodeIterator BeginLeaf() const = 0;
    /// Stands on the last leaf, or is the end if there is none.
    [[nodiscard]] virtual ZeNLeafNodeIterator LastLeaf() const = 0;
    /// The end of leaf walks.
    [[nodiscard]] virtual ZeNLeafNodeIterator EndLeaf() const = 0;
    /// Returns the first leaf, or null.
    [[nodiscard]] virtual CbSmartPointer<ZeCTransformationNodeLeaf> FrontLeaf() const = 0;
    /// Returns the last leaf, or null.
    [[nodiscard]] virtual CbSmartPointer<ZeCTransformationNodeLeaf> BackLeaf() const = 0;
    /// Number of leaves at or below the node. Cost: linear in the number of nodes.
    [[nodiscard]] virtual unsigned long long GetNrLeafNodes() const = 0;
    /// Stands on the first cached leaf, or is the end if there is none.
    [[nodiscard]] virtual ZeNCachedLeafNodeIterator BeginCachedLeaf() const = 0;
    /// Stands on the last cached leaf, or is the end if there is none.
    [[nodiscard]] virtual ZeNCachedLeafNodeIterator LastCachedLeaf() const = 0;
    /// The end of cached-leaf walks.
    [[nodiscard]] virtual ZeNCachedLeafNodeIterator EndCachedLeaf() const = 0;
    /// Returns the first cached leaf, or null.
    [[nodiscard]] virtual CbSmartPointer<ZeCTransformationNode> FrontCachedLeaf() const = 0;
    /// Returns the last cached leaf, or null.
    [[nodiscard]] virtual CbSmartPointer<ZeCTransformationNode> BackCachedLeaf() const = 0;
    /// Number of cached leaves at or below the node. Cost: linear in the number of nodes visited.
    [[nodiscard]] virtual unsigned long long GetNrCachedLeafNodes() const = 0;
    /// Stands on the first surfel of the first leaf; false at once if that has none.
    [[nodiscard]] virtual ZeNSurfelIterator BeginSurfel() const = 0;
    /// Numbers the surfels of all leaves.
    /// Throws: CyExceptionNotInvertible if the accumulated transformation of a leaf's father is
    /// singular; std::bad_alloc for any path.
    [[nodiscard]] virtual ZeNRandomAccessSurfelIterator GetRas() const = 0;
    /// Stands on the first of as many samples as @p k goes into the number of surfels. @p k must
    /// be positive: the number is divided by it. Throws: as GetRas().
    [[nodiscard]] virtual ZeNRandomSamplingSurfelIterator BeginRss(int k) const = 0;
    /// Stands on the first inner node, which is this one; the end for a leaf.
    [[nodiscard]] virtual ZeNInnerNodeIterator BeginInner() const = 0;
    /// Stands on the last inner node; the end for a leaf.
    [[nodiscard]] virtual ZeNInnerNodeIterator LastInner() const = 0;
    /// The end of inner-node walks.
    [[nodiscard]] virtual ZeNInnerNodeIterator EndInner() const = 0;

    /// The same walks as ranges that lend out node and matrix without counting references.
    ///
    /// @code
    /// for (const auto& [leaf, trafo] : cluster->Leaves()) Draw(*leaf.GetModel(), trafo);
    /// @endcode
    [[nodiscard]] ZeTNodeRange<ZeNNodeIterator> Nodes() const;
    [[nodiscard]] ZeTNodeRange<ZeNLeafNodeIterator> Leaves() const;
    [[nodiscard]] ZeTNodeRange<ZeNCachedLeafNodeIterator> CachedLeaves() const;
    [[nodiscard]] ZeTNodeRange<ZeNInnerNodeIterator> InnerNodes() const;
    /// All surfels, in the same way; empty leaves are passed over.
    ///
    /// @code
    /// for (const auto& [container, index, trafo] : cluster->Surfels()) {
    ///     Draw(container.GetPositionAccessor()[index], trafo);
    /// }
    /// @endcode
    [[nodiscard]] ZeCSurfelRange Surfels() const;
    /// @}

    /// @name Merging surfels
    /// @{

    /// Merges the surfels of a node vector into a new collection, in the frame that the elements'
    /// transformations lead to. Elements without model or without such a collection add nothing.
    /// @param type which collection of the models
    /// @param cellSize side of the grid's cells in mm, each of which gives one surfel as told by
    ///     ZeCGridSampler; 0 keeps all surfels, in the order of the elements. Surfels 2^30 cells
    ///     off have no cell and are left out: none comes out of cells that are far too small.
    /// @param samplingParameter number of surfels in a cell from which on quality counts fully
    /// @param halfOffset whether the grid is shifted by half a cell on each axis, and surfels of
    ///     the best quality weigh 6.5 times as much as those of the worst
    /// @param ignored nothing
    /// @param extra is applied after the elements' transformations; null for none
    /// Throws: CbException if there are more than 2^32-1 surfels, std::bad_alloc.
    /// Threads: needs no handle; the models of a vector do not change.
    /// Cost: linear; memory for the result, which is 22 bytes a surfel. On a grid meanwhile 70 to
    /// 150 bytes for each of many cells with surfels, 150 to 230 with @p halfOffset; without it
    /// another 130 for cells with several tissue types or more than 255 surfels.
    [[nodiscard]] static CbSmartPointer<ZeCSurfelCollectionQMT>
    ComputeSubsampling(const ZeCNodeVector& nodes, ZeCModelQMT::ESurfelCollectionType type,
                       float cellSize, float samplingParameter, bool halfOffset, float ignored,
                       const CbMatrix4Rf* extra);
    /// Does the same with the surfels inside at least one sphere, in the frame of the result; with
    /// none if there are no spheres. A cell size of 0 keeps all surfels, wherever they are.
    [[nodiscard]] static CbSmartPointer<ZeCSurfelCollectionQMT>
    ComputeSubsampling(const ZeCNodeVector& nodes, ZeCModelQMT::ESurfelCollectionType type,
                       const std::vector<CyBoundingSphere>& spheres, float cellSize,
                       float samplingParameter, bool halfOffset, float ignored,
                       const CbMatrix4Rf* extra);
    /// @}

protected:
    /// Which of the two derived classes a node is of.
    enum class EKind : bool
    {
        Inner,
        Leaf
    };

    /// An invisible node with a new id and new revisions; the model may be null.
    explicit ZeCTransformationNode(EKind kind);
    ZeCTransformationNode(EKind kind, CbSmartPointer<const ZeCModelQMT> model);
    /// A detached twin; see the class.
    ZeCTransformationNode(const ZeCTransformationNode& other);
    ~ZeCTransformationNode() override;

    /// The model's standard collection, null if there is none.
    [[nodiscard]] const ZeCSurfelCollectionQMT* borrowSurfels() const noexcept
    {
        return model_ ? model_->BorrowSurfelCollection(ZeCModelQMT::ESurfelCollectionType::Standard)
                      : nullptr;
    }
    /// The model and the transformation revision: the one of each bit of a mask.
    using Revisions = std::array<ZeTNodeRevision, 2>;
    /// Both revisions, read together.
    [[nodiscard]] Revisions getRevisions() const;

private:
    friend class ZeCChildList;
    friend class ZeCTransformationNodeInner;
    friend class ZeCTransformationNodeAccess;
    friend class ZeCTransformationNodeSerializationIDMapper;
    friend struct treetests::TestAccess;

    /// The next number, the largest one again if there is none above it.
    static ZeTNodeRevision getNextGlobalNodeRevision();
    /// Makes all numbers to come larger than a given one, as far as there are any.
    static void assertGlobalNodeHeadRevisionValid(ZeTNodeRevision revision);
    /// Raises each revision to the given one if that is larger; returns the results.
    Revisions raiseRevisions(const Revisions& revisions);

    void setID(const CyUniqueID& id);
    /// True if cached-leaf walks stop here.
    [[nodiscard]] bool isCachedLeaf() const noexcept { return leaf_ || model_; }
    /// True if another node than the father lists this one: after an exchange, or in a copy.
    [[nodiscard]] bool mayBeStale() const noexcept
    {
        const std::uint32_t fathers = father_.GetAddress() != nullptr ? 1 : 0;
        return listed_.load(std::memory_order_relaxed) > fathers;
    }
    void storeDescription(CString description) noexcept;
    /// The description, for log messages of threads that have no lock on the node.
    [[nodiscard]] CString getLoggedDescription() const;
    void setFather(const CbSmartPointer<ZeCTransformationNodeInner>& father) noexcept;

    ZeARTTIAttributeContainer attributes_;
    CbWeakPointer<ZeCTransformationNodeInner> father_;
    CbSmartPointer<const ZeCModelQMT> model_;
    CString description_; ///< written under the node lock too, so that anybody may log it
    CyUniqueID id_;
    mutable CbCriticalSection nodeLock_;
    Revisions revisions_ CB_GUARDED_BY(nodeLock_);
    // What walks read stands last, in front of an inner node's children: few cache lines hold it
    // all.
    CbMatrix4Rd relativeTrafo_;
    const bool leaf_; ///< what IsLeaf() answers, without a virtual call
    bool visible_ = false;
    std::atomic<std::uint32_t> listed_{0}; ///< number of entries that name this node
};
