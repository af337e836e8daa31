#pragma once

#include "platform/attributes/zearttiattribute.h"
#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/base/cbtypedobject.h"
#include "platform/base/cstring.h"
#include "platform/base/ctime.h"
#include "platform/base/cyuniqueid.h"
#include "platform/datatree/cysurfelcollectionbase.h"
#include "platform/math3d/cbmatrix4.h"
#include "transformationtree/nodes/zetnoderevision.h"
#include "transformationtree/transformationtreeapi.h"

#include <cstdint>
#include <limits>
#include <utility>

class ZeCTransformationNodeInner;

/// How far an image area, which is an inner node, has been correlated with a reference.
///
/// It holds what the area was correlated to, whether and how well; the transformations that were
/// found; the state of jaw relaxation; whether the area is the scan of an impression; the revisions
/// that this was done for; and the number of correlation tasks that wait for the area. Copies of
/// nodes share the attribute.
///
/// Threads: the number of tasks is guarded, all else is not: who needs several values that belong
/// together enters GetCriticalSection().
class TRANSFORMATIONTREE_API ZeCImageAreaDataAttribute
    : public CbTypedObject<ZeCImageAreaDataAttribute, ZeARTTIAttribute>
{
public:
    /// The application's; all values are kept as they are.
    enum class ECorrelationLevel : std::int32_t
    {
        Default = 0
    };

    /// The record of this class.
    static const CbRTTI RTTI;

    /// An area that is not correlated.
    ZeCImageAreaDataAttribute();
    ZeCImageAreaDataAttribute(const ZeCImageAreaDataAttribute&) = delete;
    ZeCImageAreaDataAttribute& operator=(const ZeCImageAreaDataAttribute&) = delete;

    /// @name Correlation
    /// @{

    /// Id of the object that the area was correlated to, as text; that of the nil id for none.
    [[nodiscard]] const CString& GetCorrelationObjectID() const noexcept
    {
        return fields_.correlationObjectID;
    }
    void SetCorrelationObjectID(const CString& id) { fields_.correlationObjectID = id; }

    /// True if the area has been correlated with that object.
    [[nodiscard]] bool GetIsCorrelated() const noexcept { return fields_.isCorrelated; }
    void SetIsCorrelated(bool isCorrelated) noexcept { fields_.isCorrelated = isCorrelated; }

    /// How well the area is correlated.
    [[nodiscard]] ECorrelationLevel GetCorrelationLevel() const noexcept
    {
        return fields_.correlationLevel;
    }
    void SetCorrelationLevel(ECorrelationLevel level) noexcept { fields_.correlationLevel = level; }

    /// The transformation that the correlation found, in mm; the identity for none. Its frames and
    /// direction are the application's.
    [[nodiscard]] const CbMatrix4Rf& GetCorrelationTrafo() const noexcept
    {
        return fields_.correlationTrafo;
    }
    void SetCorrelationTrafo(const CbMatrix4Rf& trafo) noexcept
    {
        fields_.correlationTrafo = trafo;
    }
    /// Returns a copy of the correlation transformation.
    [[nodiscard]] CbMatrix4Rf GetCorrelationMatrix() const noexcept
    {
        return fields_.correlationTrafo;
    }

    /// The error that the correlation left, in the application's measure; the largest float if
    /// none was computed.
    [[nodiscard]] float GetCorrelationError() const noexcept { return fields_.correlationError; }
    void SetCorrelationError(float error) noexcept { fields_.correlationError = error; }

    /// The correlation transformation that succeeded last; the identity for none. It is not stored.
    [[nodiscard]] const CbMatrix4Rf& GetLastSuccessfulCorrelationTrafo() const noexcept
    {
        return fields_.lastSuccessfulCorrelationTrafo;
    }
    void SetLastSuccessfulCorrelationTrafo(const CbMatrix4Rf& trafo) noexcept
    {
        fields_.lastSuccessfulCorrelationTrafo = trafo;
    }
    /// @}

    /// @name Jaw relaxation
    /// @{

    /// True if the jaw that the area belongs to has been relaxed.
    [[nodiscard]] bool GetIsJawRelaxed() const noexcept { return fields_.isJawRelaxed; }
    void SetIsJawRelaxed(bool isRelaxed) noexcept { fields_.isJawRelaxed = isRelaxed; }

    /// The transformation that the relaxation found, in mm; the identity for none. Its frames and
    /// direction are the application's.
    [[nodiscard]] const CbMatrix4Rf& GetJawRelaxationTrafo() const noexcept
    {
        return fields_.jawRelaxationTrafo;
    }
    void SetJawRelaxationTrafo(const CbMatrix4Rf& trafo) noexcept
    {
        fields_.jawRelaxationTrafo = trafo;
    }
    /// @}

    /// True if the area is the scan of an impression, not of teeth.
    [[nodiscard]] bool GetIsImpressionScan() const noexcept { return fields_.isImpressionScan; }
    void SetIsImpressionScan(bool isImpression) noexcept
    {
        fields_.isImpressionScan = isImpression;
    }
    /// Returns a half turn about the y axis for the scan of an impression, otherwise the identity.
    [[nodiscard]] CbMatrix4Rf GetImpressionMatrix() const noexcept;

    /// The surfels that the application moves while it shows the area, or null. They are not
    /// stored.
    [[nodiscard]] CbSmartPointer<CySurfelCollectionBase> GetAnimation() const
    {
        return fields_.animation;
    }
    void SetAnimation(CbSmartPointer<CySurfelCollectionBase> animation)
    {
        fields_.animation = std::move(animation);
    }

    /// @name Revisions
    /// Those that the work was last done for, -1 for none.
    /// @{

    /// The one of the area's node.
    [[nodiscard]] ZeTNodeRevision GetLastNodeRevision() const noexcept
    {
        return fields_.lastNodeRevision;
    }
    void SetLastNodeRevision(ZeTNodeRevision revision) noexcept
    {
        fields_.lastNodeRevision = revision;
    }

    /// The one of the area at its last correlation.
    [[nodiscard]] ZeTNodeRevision GetLastAreaCorrelationRevision() const noexcept
    {
        return fields_.lastAreaCorrelationRevision;
    }
    void SetLastAreaCorrelationRevision(ZeTNodeRevision revision) noexcept
    {
        fields_.lastAreaCorrelationRevision = revision;
    }

    /// The one of the reference at the area's last correlation.
    [[nodiscard]] ZeTNodeRevision GetLastRefAreaCorrelationRevision() const noexcept
    {
        return fields_.lastRefAreaCorrelationRevision;
    }
    void SetLastRefAreaCorrelationRevision(ZeTNodeRevision revision) noexcept
    {
        fields_.lastRefAreaCorrelationRevision = revision;
    }

    /// The id, as text, that the GUID revision belongs to; empty for none.
    [[nodiscard]] const CString& GetLastGUID() const noexcept { return fields_.lastGUID; }
    void SetLastGUID(const CString& guid) { fields_.lastGUID = guid; }

    /// The one of what the GUID names.
    [[nodiscard]] ZeTNodeRevision GetLastGUIDRevision() const noexcept
    {
        return fields_.lastGUIDRevision;
    }
    void SetLastGUIDRevision(ZeTNodeRevision revision) noexcept
    {
        fields_.lastGUIDRevision = revision;
    }

    /// When the application last changed the attribute; 0 for never.
    [[nodiscard]] CTime GetTimeChanged() const noexcept { return fields_.timeChanged; }
    void SetTimeChanged(CTime time) noexcept { fields_.timeChanged = time; }
    /// @}

    /// @name Correlation tasks that wait for the area
    /// They are not stored. Threads: any time.
    /// @{

    /// Counts one more and returns the new number.
    unsigned int IncrementEnqueuedAreaCorrelationTasks();
    /// Counts one less and returns the new number; none less one is 2^32-1.
    unsigned int DecrementEnqueuedAreaCorrelationTasks();
    /// Returns the number at this moment.
    [[nodiscard]] unsigned int GetNumEnqueuedAreaCorrelationTasks() const;
    /// @}

    /// The section that guards the number of tasks, for several calls that belong together.
    [[nodiscard]] CbCriticalSection& GetCriticalSection() const noexcept
        CB_RETURN_CAPABILITY(section_)
    {
        return section_;
    }

    /// Resets the attribute and sets the three revisions of node and correlation to the newest one
    /// at or below @p areaNode; null leaves them at -1.
    void InitFromAreaNode(const CbSmartPointer<const ZeCTransformationNodeInner>& areaNode);

    /// One line for logs, with all but the time. Of transformations it says whether they are the
    /// identity, of surfels where they lie.
    [[nodiscard]] CString ToString() const;

    /// Writes version 2.
    void Serialize(CbStreamWriteBinary& stream) const override;
    /// Reads any version. What it does not have stays as it is.
    /// Throws: CbExceptionWrongFileVersion, CbExceptionStream; the attribute stays as it was.
    void Serialize(CbStreamReadBinary& stream) override;

    /// Becomes as a new one, with no tasks. Returns true.
    bool ResetAttribute() override;

protected:
    ~ZeCImageAreaDataAttribute() override;

private:
    /// All that is not guarded.
    struct Fields
    {
        CString correlationObjectID = CyUniqueID::GetInvalidID().ToString();
        bool isCorrelated = false;
        ECorrelationLevel correlationLevel = ECorrelationLevel::Default;
        CbMatrix4Rf correlationTrafo;
        float correlationError = std::numeric_limits<float>::max();
        bool isJawRelaxed = false;
        CbMatrix4Rf jawRelaxationTrafo;
        bool isImpressionScan = false;
        CbSmartPointer<CySurfelCollectionBase> animation;
        CbMatrix4Rf lastSuccessfulCorrelationTrafo;
        ZeTNodeRevision lastNodeRevision = -1;
        ZeTNodeRevision lastAreaCorrelationRevision = -1;
        ZeTNodeRevision lastRefAreaCorrelationRevision = -1;
        CString lastGUID;
        CTime timeChanged;
        ZeTNodeRevision lastGUIDRevision = -1;
    };

    // Each version is the one before with something behind it.
    static void writeVersion0(CbStreamWriteBinary& stream, const Fields& fields);
    static void writeVersion1(CbStreamWriteBinary& stream, const Fields& fields);
    static void writeVersion2(CbStreamWriteBinary& stream, const Fields& fields);
    static void readVersion0(CbStreamReadBinary& stream, Fields& fields);
    static void readVersion1(CbStreamReadBinary& stream, Fields& fields);
    static void readVersion2(CbStreamReadBinary& stream, Fields& fields);

    Fields fields_;
    unsigned int numEnqueuedAreaCorrelationTasks_ CB_GUARDED_BY(section_) = 0;
    mutable CbCriticalSection section_;
};
