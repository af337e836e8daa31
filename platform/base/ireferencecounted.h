#pragma once

#include "platform/base/platformapi.h"

class CbReferenceCounter;

/// Interface of everything that lives behind a CbSmartPointer.
///
/// Objects start unowned. They live on the heap, the first smart pointer takes them and the last
/// one deletes them; their destructors are protected, so that nobody puts one on the stack. A class
/// with several bases of this kind overrides getReferenceCounter() once for all of them.
class PLATFORM_API IReferenceCounted
{
protected:
    IReferenceCounted() = default;
    IReferenceCounted(const IReferenceCounted&) = default;
    IReferenceCounted& operator=(const IReferenceCounted&) = default;
    virtual ~IReferenceCounted() = default;

    /// Returns the block that counts the references to this object.
    [[nodiscard]] virtual CbReferenceCounter& getReferenceCounter() const noexcept = 0;

    friend class CbReferenceCounter;
};
