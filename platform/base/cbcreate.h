#pragma once

/// @file
/// Objects by the names of their classes.

#include "platform/base/cbrtti.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/base/cstring.h"
#include "platform/base/iobject.h"

/// Makes an object of a class that is known by its name only, as streams name it.
/// Returns null if no class of that name is registered, or it is abstract or no T.
template<class T>
[[nodiscard]] CbSmartPointer<T> CbCreate(const CString& className)
{
    const CbRTTI* const type = CbRTTI::Find(className);
    if (type == nullptr || type->getCreate() == nullptr || !type->IsKindOf(T::RTTI)) return nullptr;
    return CbSmartPointer<T>(static_cast<T*>(type->getCreate()()));
}
