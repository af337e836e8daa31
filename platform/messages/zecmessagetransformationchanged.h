#pragma once

#include "platform/datatree/cynode.h"
#include "platform/math3d/cbmatrix4.h"
#include "platform/messages/cymessage.h"

/// Tells that the transformation of a node was changed.
class PLATFORM_API ZeCMessageTransformationChanged : public CyMessage
{
public:
    /// The record of this class.
    static const CbRTTI RTTI;

    /// @param trafo from the node's frame into its father's frame
    ZeCMessageTransformationChanged(CbSmartPointer<CyNode> node, const CbMatrix4Rf& trafo) noexcept;

    /// What the constructor was given.
    [[nodiscard]] const CbSmartPointer<CyNode>& GetNode() const noexcept { return node_; }
    /// The transformation from the node's frame into its father's frame at the time of posting.
    [[nodiscard]] const CbMatrix4Rf& GetTrafo() const noexcept { return trafo_; }

    [[nodiscard]] const CbRTTI& GetRTTI() const override;

protected:
    ~ZeCMessageTransformationChanged() override;

private:
    CbSmartPointer<CyNode> node_;
    CbMatrix4Rf trafo_;
};
