#pragma once

#include "platform/base/ireferencecounted.h"

class CbRTTI;
class CString;

/// An object with a run-time type record.
///
/// Objects made by the factory functions of a type record are unowned until a smart pointer takes
/// them.
class PLATFORM_API IObject : public IReferenceCounted
{
public:
    /// Returns the record of the object's own class.
    [[nodiscard]] virtual const CbRTTI& GetRTTI() const = 0;

    /// True if the object is of exactly this class.
    [[nodiscard]] bool Is(const CbRTTI& type) const;
    /// True if the object is of this class or of one derived from it.
    [[nodiscard]] bool IsKindOf(const CbRTTI& type) const;
    /// Returns the class name of the object's record.
    [[nodiscard]] CString GetClassNameW() const;

protected:
    IObject() = default;
    IObject(const IObject&) = default;
    IObject& operator=(const IObject&) = default;
    ~IObject() override = default;
};
