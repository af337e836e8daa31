#pragma once

#include "platform/base/cbclonableobject.h"
#include "transformationtree/nodes/zectransformationnode.h"

/// A leaf: holds one scanned model and has no children.
class TRANSFORMATIONTREE_API ZeCTransformationNodeLeaf final
    : public CbClonableObject<ZeCTransformationNodeLeaf, ZeCTransformationNode>
{
public:
    /// The class's type record.
    static const CbRTTI RTTI;

    /// An invisible leaf without model.
    ZeCTransformationNodeLeaf();
    /// A visible leaf for a model.
    explicit ZeCTransformationNodeLeaf(CbSmartPointer<const ZeCModelQMT> model);
    /// A detached twin without model.
    ZeCTransformationNodeLeaf(const ZeCTransformationNodeLeaf& other);
    ZeCTransformationNodeLeaf& operator=(const ZeCTransformationNodeLeaf&) = delete;

    /// True if the model is a scan that started a new entry.
    [[nodiscard]] bool IsNewEntryScan() const noexcept { return newEntryScan_; }
    /// Sets the flag. No revision changes.
    void SetIsNewEntryScan(bool isNewEntryScan) noexcept { newEntryScan_ = isNewEntryScan; }

    /// Does nothing: a leaf's model is given, not built.
    void CreateModel(bool, float, float, bool, float) override {}
    /// Returns the node's own model revision.
    [[nodiscard]] ZeTNodeRevision GetModelRevision() const override
    {
        return GetNodeRevision(c_modelRevision);
    }
    [[nodiscard]] bool IsLeaf() const override { return true; }
    /// Always false: a leaf counts even without a model.
    [[nodiscard]] bool EmptyLeafs() const override { return false; }
    /// Returns the box around the model's surfels in the leaf's own frame; @p trafo is ignored.
    /// Empty without a model.
    [[nodiscard]] CyBoundingBox3D GetBoundingBox(const CbMatrix4Rd& trafo) const override;

    /// Takes over transformation, description and visibility of another leaf, but neither model nor
    /// new-entry-scan flag. An inner node or null changes nothing.
    void AssumeAttributes(const CbSmartPointer<const ZeCTransformationNode>& other,
                          EAttributesToCopy what) override;
    /// AssumeAttributes() and nothing more: whoever needs a new revision calls NewNodeRevision().
    void AssumeAttributesIncrementVersion(const CbSmartPointer<const ZeCTransformationNode>& other);

    [[nodiscard]] ZeTNodeRevision GetNodeRevisionSubtree(unsigned int mask) const override;
    /// Writes the two revisions to @p out, which must not be null, and changes nothing.
    void UpdateNodeRevisionSubtree(ZeTNodeRevision* out) override;

    void SerializeStructure(CbStreamReadBinary& stream) override;
    void SerializeStructure(CbStreamWriteBinary& stream) const override;

    [[nodiscard]] ZeNNodeIterator BeginNode() const override;
    [[nodiscard]] ZeNNodeIterator LastNode() const override;
    [[nodiscard]] ZeNNodeIterator EndNode() const override;
    [[nodiscard]] CbSmartPointer<ZeCTransformationNode> BackNode() const override;
    [[nodiscard]] ZeNLeafNodeIterator BeginLeaf() const override;
    [[nodiscard]] ZeNLeafNodeIterator LastLeaf() const override;
    [[nodiscard]] ZeNLeafNodeIterator EndLeaf() const override;
    [[nodiscard]] CbSmartPointer<ZeCTransformationNodeLeaf> FrontLeaf() const override;
    [[nodiscard]] CbSmartPointer<ZeCTransformationNodeLeaf> BackLeaf() const override;
    [[nodiscard]] unsigned long long GetNrLeafNodes() const override { return 1; }
    [[nodiscard]] ZeNCachedLeafNodeIterator BeginCachedLeaf() const override;
    [[nodiscard]] ZeNCachedLeafNodeIterator LastCachedLeaf() const override;
    [[nodiscard]] ZeNCachedLeafNodeIterator EndCachedLeaf() const override;
    [[nodiscard]] CbSmartPointer<ZeCTransformationNode> FrontCachedLeaf() const override;
    [[nodiscard]] CbSmartPointer<ZeCTransformationNode> BackCachedLeaf() const override;
    [[nodiscard]] unsigned long long GetNrCachedLeafNodes() const override { return 1; }
    [[nodiscard]] ZeNSurfelIterator BeginSurfel() const override;
    [[nodiscard]] ZeNRandomAccessSurfelIterator GetRas() const override;
    [[nodiscard]] ZeNRandomSamplingSurfelIterator BeginRss(int k) const override;
    [[nodiscard]] ZeNInnerNodeIterator BeginInner() const override;
    [[nodiscard]] ZeNInnerNodeIterator LastInner() const override;
    [[nodiscard]] ZeNInnerNodeIterator EndInner() const override;

protected:
    ~ZeCTransformationNodeLeaf() override;

private:
    bool newEntryScan_ = false;
};
