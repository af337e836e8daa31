#pragma once

#include "platform/attributes/zearttiattribute.h"
#include "platform/base/cbclonableobject.h"
#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/datatree/cysurfelcollectionbase.h"
#include "transformationtree/nodes/zetnoderevision.h"
#include "transformationtree/transformationtreeapi.h"

#include <utility>

/// The surfels of a node's component that is connected with nothing else, to warn about.
///
/// A reset keeps the warning.
///
/// Threads: serialization is guarded; collection and revision are not.
class TRANSFORMATIONTREE_API ZeCDisconnectedComponentWarningAttribute
    : public CbClonableObject<ZeCDisconnectedComponentWarningAttribute, ZeARTTIAttribute>
{
public:
    /// The record of this class.
    static const CbRTTI RTTI;

    ZeCDisconnectedComponentWarningAttribute() = default;
    /// Shares the collection.
    ZeCDisconnectedComponentWarningAttribute(const ZeCDisconnectedComponentWarningAttribute& other);
    ZeCDisconnectedComponentWarningAttribute&
    operator=(const ZeCDisconnectedComponentWarningAttribute& other);

    /// The surfels to warn about, or null.
    [[nodiscard]] CbSmartPointer<CySurfelCollectionBase> GetWarningSurfelCollection() const
    {
        return collection_;
    }
    void SetWarningSurfelCollection(CbSmartPointer<CySurfelCollectionBase> collection)
    {
        collection_ = std::move(collection);
    }

    /// The revision that the caller computed the warning of; -1 for none.
    [[nodiscard]] ZeTNodeRevision GetWarningComputedRevision() const noexcept
    {
        return warningComputedRevision_;
    }
    void SetWarningComputedRevision(ZeTNodeRevision revision) noexcept
    {
        warningComputedRevision_ = revision;
    }

    /// Writes version 1: version and collection; the revision is not stored.
    void Serialize(CbStreamWriteBinary& stream) const override;
    /// Reads what was written. If no collection was stored, the present one stays. One of an
    /// unknown class reads as null.
    /// Throws: CbExceptionWrongFileVersion, CbExceptionStream and what the collection's reader
    /// throws; the attribute stays as it was.
    void Serialize(CbStreamReadBinary& stream) override;

    /// Changes nothing and returns true. Threads: waits for serialization to end.
    bool ResetAttribute() override;

protected:
    ~ZeCDisconnectedComponentWarningAttribute() override;

private:
    mutable CbCriticalSection section_;
    CbSmartPointer<CySurfelCollectionBase> collection_;
    ZeTNodeRevision warningComputedRevision_ = -1;
};
