#include "transformationtree/walks/zectransformationnodewithtrafo.h"

#include "platform/math3d/cbmatrixinternal.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"
#include "transformationtree/nodes/zectransformationnodeleaf.h"

ZeCTransformationNodeWithTrafo::ZeCTransformationNodeWithTrafo(
    CbSmartPointer<ZeCTransformationNode> node, const CbMatrix4Rd& trafoToRoot,
    const CbMatrix4Rd& fatherTrafoToRoot)
    : node_(std::move(node)), trafo_(trafoToRoot), fatherTrafo_(fatherTrafoToRoot)
{
    CbMatrixInternal::CheckInvertible(CbMatrixInternal::Determinant(fatherTrafo_));
}

CbSmartPointer<ZeCTransformationNodeLeaf> ZeCTransformationNodeWithTrafo::GetLeafNode() const
{
    if (!node_ || !node_->IsLeaf()) return nullptr;
    return CbStaticPointerCast<ZeCTransformationNodeLeaf>(node_);
}

CbSmartPointer<ZeCTransformationNodeInner> ZeCTransformationNodeWithTrafo::GetInnerNode() const
{
    return CbSmartPointer<ZeCTransformationNodeInner>(node_ ? node_->AsInner() : nullptr);
}

void ZeCTransformationNodeWithTrafo::SetTrafoToTraversalRoot(const CbMatrix4Rd& trafo) const
{
    // Only here, since most walks place nothing and an inverse costs more than a step.
    CbMatrix4Rd rootToFather = fatherTrafo_;
    CbMatrixInternal::Invert(rootToFather);
    node_->SetRelativeTrafo(Compose(trafo, rootToFather));
}
