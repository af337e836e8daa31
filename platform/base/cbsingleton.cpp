#include "platform/base/cbsingleton.h"

#include "platform/base/cbimmortal.h"

CbCriticalSection& CbSingletonLock() noexcept
{
    static const CbImmortal<CbCriticalSection> lock;
    return *lock;
}
