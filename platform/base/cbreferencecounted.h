#pragma once

#include "platform/base/cbreferencecounter.h"
#include "platform/base/ireferencecounted.h"
#include "platform/base/platformapi.h"

/// Base of reference-counted objects: embeds the reference-count block.
///
/// Copying an object copies neither its count nor its weak links: the copy starts unowned.
class PLATFORM_API CbReferenceCounted : public IReferenceCounted
{
protected:
    CbReferenceCounted() = default;
    /// The new object is unowned.
    CbReferenceCounted(const CbReferenceCounted& /*other*/) {}
    /// References to this object and weak links stay as they are.
    CbReferenceCounted& operator=(const CbReferenceCounted& /*other*/) { return *this; }
    ~CbReferenceCounted() override = default;

    [[nodiscard]] CbReferenceCounter& getReferenceCounter() const noexcept override
    {
        return counter_;
    }

private:
    friend class CbReferenceCounter;

    mutable CbReferenceCounter counter_;
};

inline CbReferenceCounter& CbReferenceCounter::Of(const CbReferenceCounted& object) noexcept
{
    return object.counter_;
}
