#pragma once

#include "platform/base/cbobject.h"
#include "platform/base/cbrtti.h"

class CbStreamReadBinary;
class CbStreamWriteBinary;

/// Base of the surfel collections: what the data tree knows of them.
class PLATFORM_API CySurfelCollectionBase : public CbObject
{
public:
    /// The record of this class, which is abstract.
    static const CbRTTI RTTI;

    [[nodiscard]] const CbRTTI& GetRTTI() const override;

    /// Writes the collection.
    virtual void Serialize(CbStreamWriteBinary& stream) const = 0;
    /// Replaces the content by what the stream holds.
    virtual void Serialize(CbStreamReadBinary& stream) = 0;

protected:
    CySurfelCollectionBase() = default;
    CySurfelCollectionBase(const CySurfelCollectionBase&) = default;
    CySurfelCollectionBase& operator=(const CySurfelCollectionBase&) = default;
    ~CySurfelCollectionBase() override;
};
