#pragma once

#include "platform/attributes/zearttiattribute.h"
#include "platform/base/cbclonableobject.h"
#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/datatree/cysurfelcollectionbase.h"
#include "platform/datatree/cytriangulationbase.h"
#include "transformationtree/nodes/zetnoderevision.h"
#include "transformationtree/transformationtreeapi.h"

#include <cstdint>
#include <vector>

/// The surfels of a node that hint at where a scan registers, how they are displayed, how far their
/// computation has come, and triangulations of them.
///
/// Threads: collection, display mode, computation status, reset and serialization are guarded;
/// triangulations and revision are not.
class TRANSFORMATIONTREE_API ZeCRegistrationHintsAttribute
    : public CbClonableObject<ZeCRegistrationHintsAttribute, ZeARTTIAttribute>
{
public:
    /// The application's; all values are kept as they are.
    enum class ESurfelCollectionDisplayMode : std::uint32_t
    {
        Default = 0
    };
    /// The application's; all values are kept as they are.
    enum class EComputationStatus : std::int32_t
    {
        Default = 0
    };

    /// The application's; the library keeps them and looks at none.
    using Triangulations = std::vector<CbSmartPointer<CyTriangulationBase>>;

    /// The record of this class.
    static const CbRTTI RTTI;

    ZeCRegistrationHintsAttribute() = default;
    /// Shares the collection and the triangulations.
    ZeCRegistrationHintsAttribute(const ZeCRegistrationHintsAttribute& other);
    ZeCRegistrationHintsAttribute& operator=(const ZeCRegistrationHintsAttribute& other);

    /// The hinting surfels, or null.
    [[nodiscard]] CbSmartPointer<const CySurfelCollectionBase>
    GetRegistrationHintSurfelCollection() const;
    void SetRegistrationHintSurfelCollection(CbSmartPointer<CySurfelCollectionBase> collection);

    /// How the hints are displayed.
    [[nodiscard]] ESurfelCollectionDisplayMode GetDisplayMode() const;
    void SetDisplayMode(ESurfelCollectionDisplayMode mode);

    /// How far the computation of the hints has come; not stored.
    [[nodiscard]] EComputationStatus GetComputationStatus() const;
    void SetComputationStatus(EComputationStatus status);

    /// Triangulations of the hints; not stored.
    /// Lifetime: until they are set, or the attribute is reset.
    [[nodiscard]] const Triangulations& GetTriangulations() const noexcept
    {
        return triangulations_;
    }
    void SetTriangulations(const Triangulations& triangulations);

    /// The revision that the caller computed the hints of; -1 for none.
    [[nodiscard]] ZeTNodeRevision GetHintsComputedRevision() const noexcept
    {
        return hintsComputedRevision_;
    }
    void SetHintsComputedRevision(ZeTNodeRevision revision) noexcept
    {
        hintsComputedRevision_ = revision;
    }

    /// Writes version 1: version, display mode and collection; all else is not stored.
    void Serialize(CbStreamWriteBinary& stream) const override;
    /// Reads what was written. If no collection was stored, the present one stays. One of an
    /// unknown class reads as null; what is not stored stays.
    /// Throws: CbExceptionWrongFileVersion, CbExceptionStream and what the collection's reader
    /// throws; the attribute stays as it was.
    void Serialize(CbStreamReadBinary& stream) override;

    /// Sets display mode and computation status to 0 and removes the triangulations; collection and
    /// revision stay. Returns true.
    bool ResetAttribute() override;

protected:
    ~ZeCRegistrationHintsAttribute() override;

private:
    mutable CbCriticalSection section_;
    CbSmartPointer<CySurfelCollectionBase> collection_ CB_GUARDED_BY(section_);
    ESurfelCollectionDisplayMode
        displayMode_ CB_GUARDED_BY(section_) = ESurfelCollectionDisplayMode::Default;
    EComputationStatus computationStatus_ CB_GUARDED_BY(section_) = EComputationStatus::Default;
    Triangulations triangulations_;
    ZeTNodeRevision hintsComputedRevision_ = -1;
};
