#include "platform/base/iobject.h"

#include "platform/base/cbrtti.h"

bool IObject::Is(const CbRTTI& type) const { return &GetRTTI() == &type; }

bool IObject::IsKindOf(const CbRTTI& type) const { return GetRTTI().IsKindOf(type); }

CString IObject::GetClassNameW() const { return CString(GetRTTI().GetName()); }
