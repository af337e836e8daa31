#include "platform/base/cbsingleton.h"

CbCriticalSection& CbSingletonLock() noexcept
{
    static CbCriticalSection& lock = *new CbCriticalSection;
    return lock;
}
