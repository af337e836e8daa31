#pragma once

#include "platform/base/cbobject.h"
#include "platform/base/cbrtti.h"

class CbStreamReadBinary;
class CbStreamWriteBinary;

/// Base of the typed attributes that hang on nodes.
///
/// A concrete class has a static record RTTI with a create function and, if it can be copied, a
/// clone function; it derives through CbTypedObject or CbClonableObject, which bring these.
class PLATFORM_API ZeARTTIAttribute : public CbObject
{
public:
    /// The record of this class, which is abstract.
    static const CbRTTI RTTI;

    /// Writes the version and the fields.
    virtual void Serialize(CbStreamWriteBinary& stream) const = 0;
    /// Reads the fields of any known version. Throws: CbExceptionWrongFileVersion for an unknown
    /// version, CbExceptionStream for short data.
    virtual void Serialize(CbStreamReadBinary& stream) = 0;

protected:
    ZeARTTIAttribute() = default;
    ZeARTTIAttribute(const ZeARTTIAttribute&) = default;
    ZeARTTIAttribute& operator=(const ZeARTTIAttribute&) = default;
    ~ZeARTTIAttribute() override;

    /// Sets back what the class says, and returns true. If it is not overridden nothing changes,
    /// and it returns false.
    virtual bool ResetAttribute();

private:
    friend class ZeARTTIAttributeContainer;
};
