#include "platform/datatree/cydatahandlelockonly.h"

#include "platform/datatree/cydatamanager.h"
#include "platform/datatree/internal/cylockengine.h"

#include <utility>

template<int kind>
CyDataHandleLockOnly<kind>::CyDataHandleLockOnly(CyDataManager& manager,
                                                 const CbSmartPointer<const CyNode>& node)
{
    if (node) manager.ask(*node, kind == 1, record_);
}

template<int kind>
CyDataHandleLockOnly<kind>::CyDataHandleLockOnly(CyDataHandleLockOnly&& other) noexcept
{
    if (other.record_.thread == nullptr) return;
    CyLockEngine& engine = other.record_.thread->engine;
    const CyDataTreeMutexLock lock(engine.mutex);
    engine.Relocate(other.record_, record_);
}

template<int kind>
CyDataHandleLockOnly<kind>&
CyDataHandleLockOnly<kind>::operator=(CyDataHandleLockOnly&& other) noexcept
{
    if (this == &other) return *this;
    const CyDataHandleLockOnly old(std::move(*this));
    if (other.record_.thread == nullptr) return *this;
    CyLockEngine& engine = other.record_.thread->engine;
    const CyDataTreeMutexLock lock(engine.mutex);
    engine.Relocate(other.record_, record_);
    return *this;
}

template<int kind>
bool CyDataHandleLockOnly<kind>::IsValid() const noexcept
{
    if (record_.thread == nullptr) return false;
    CyLockEngine& engine = record_.thread->engine;
    const CyDataTreeMutexLock lock(engine.mutex);
    return engine.IsValid(record_);
}

template<int kind>
void CyDataHandleLockOnly<kind>::Release() noexcept
{
    CyLockThread* const thread = record_.thread;
    if (thread == nullptr) return;
    bool isLast = false;
    {
        CyLockEngine& engine = thread->engine;
        const CyDataTreeMutexLock lock(engine.mutex);
        isLast = engine.TakeBack(record_);
    }
    if (isLast) delete thread;
}

template class CyDataHandleLockOnly<0>;
template class CyDataHandleLockOnly<1>;
