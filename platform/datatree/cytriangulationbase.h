#pragma once

#include "platform/base/cbreferencecounted.h"
#include "platform/base/cbrtti.h"
#include "platform/base/iobject.h"

/// Base of the triangulations, which only the application knows: counted and typed.
class PLATFORM_API CyTriangulationBase : public CbReferenceCounted, public IObject
{
public:
    /// The record of this class, which is abstract.
    static const CbRTTI RTTI;

    [[nodiscard]] CbReferenceCounter& getReferenceCounter() const noexcept override
    {
        return CbReferenceCounted::getReferenceCounter();
    }
    [[nodiscard]] const CbRTTI& GetRTTI() const override;

protected:
    CyTriangulationBase() = default;
    CyTriangulationBase(const CyTriangulationBase&) = default;
    CyTriangulationBase& operator=(const CyTriangulationBase&) = default;
    ~CyTriangulationBase() override;
};
