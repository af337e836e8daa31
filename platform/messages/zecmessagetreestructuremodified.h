#pragma once

#include "platform/datatree/cynode.h"
#include "platform/messages/cymessage.h"

#include <cstdint>

/// Tells that the structure of a tree was changed around a node.
class PLATFORM_API ZeCMessageTreeStructureModified : public CyMessage
{
public:
    /// The record of this class.
    static const CbRTTI RTTI;

    /// What happened to the node. Other values pass through unchanged.
    enum EModificationType : std::int32_t
    {
        eNodeAdded = 1,      ///< added below the father
        eNodeRemoved = 2,    ///< removed with nothing left below it
        eNodeMoved = 3,      ///< moved below the father
        eClusterCreated = 4, ///< a cluster was created below the father
        eTopInserted = 5 ///< put between a full top node, which the message names as father, and
                         ///< that node's father
    };

    /// @param father may be null
    ZeCMessageTreeStructureModified(CbSmartPointer<CyNode> node, CbSmartPointer<CyNode> father,
                                    EModificationType type) noexcept;

    /// What the constructor was given.
    [[nodiscard]] const CbSmartPointer<CyNode>& GetNode() const noexcept { return node_; }
    [[nodiscard]] const CbSmartPointer<CyNode>& GetFather() const noexcept { return father_; }
    [[nodiscard]] EModificationType GetModificationType() const noexcept { return type_; }

    [[nodiscard]] const CbRTTI& GetRTTI() const override;

protected:
    ~ZeCMessageTreeStructureModified() override;

private:
    CbSmartPointer<CyNode> node_;
    CbSmartPointer<CyNode> father_;
    EModificationType type_;
};
