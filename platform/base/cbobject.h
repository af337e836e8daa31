#pragma once

#include "platform/base/cbreferencecounted.h"
#include "platform/base/iobject.h"

/// A counted object with a run-time type record: the one base of classes that are both.
class PLATFORM_API CbObject : public CbReferenceCounted, public IObject
{
public:
    [[nodiscard]] CbReferenceCounter& getReferenceCounter() const noexcept override
    {
        return CbReferenceCounted::getReferenceCounter();
    }

protected:
    CbObject() = default;
    CbObject(const CbObject&) = default;
    CbObject& operator=(const CbObject&) = default;
    ~CbObject() override = default;
};
