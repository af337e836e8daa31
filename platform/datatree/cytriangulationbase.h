#pragma once

#include "platform/base/cbobject.h"
#include "platform/base/cbrtti.h"

/// Base of the triangulations, which only the application knows: counted and typed.
class PLATFORM_API CyTriangulationBase : public CbObject
{
public:
    /// The record of this class, which is abstract.
    static const CbRTTI RTTI;

    [[nodiscard]] const CbRTTI& GetRTTI() const override;

protected:
    CyTriangulationBase() = default;
    CyTriangulationBase(const CyTriangulationBase&) = default;
    CyTriangulationBase& operator=(const CyTriangulationBase&) = default;
    ~CyTriangulationBase() override;
};
