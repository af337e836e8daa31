#pragma once

#include "platform/base/cbreferencecounted.h"
#include "platform/base/cbrtti.h"
#include "platform/base/iobject.h"

class CbStreamReadBinary;
class CbStreamWriteBinary;

/// Base of the surfel collections: what the data tree knows of them.
class PLATFORM_API CySurfelCollectionBase : public CbReferenceCounted, public IObject
{
public:
    /// The record of this class, which is abstract.
    static const CbRTTI RTTI;

    [[nodiscard]] CbReferenceCounter& getReferenceCounter() const noexcept override
    {
        return CbReferenceCounted::getReferenceCounter();
    }
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
