#pragma once

#include "platform/base/cyuniqueid.h"
#include "platform/datatree/cynode.h"
#include "platform/messages/cymessage.h"

#include <cstdint>

/// Tells that the surfels of a node's model are not what they were.
class PLATFORM_API ZeCMessageSurfelCollectionModified : public CyMessage
{
public:
    /// The record of this class.
    static const CbRTTI RTTI;

    /// What happened to the surfels. Other values pass through unchanged.
    enum EModificationType : std::int32_t
    {
        eModelOutdated = 1 ///< the model no longer shows what is below the node and is dropped
    };

    /// @param model id of the model concerned
    ZeCMessageSurfelCollectionModified(CbSmartPointer<CyNode> node, const CyUniqueID& model,
                                       EModificationType type) noexcept;

    /// What the constructor was given.
    [[nodiscard]] const CbSmartPointer<CyNode>& GetNode() const noexcept { return node_; }
    [[nodiscard]] const CyUniqueID& GetModelID() const noexcept { return model_; }
    [[nodiscard]] EModificationType GetModificationType() const noexcept { return type_; }

    [[nodiscard]] const CbRTTI& GetRTTI() const override;

protected:
    ~ZeCMessageSurfelCollectionModified() override;

private:
    CbSmartPointer<CyNode> node_;
    CyUniqueID model_;
    EModificationType type_;
};
