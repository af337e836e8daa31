#pragma once

#include "platform/base/cbsmartpointer.h"

#include <type_traits>

/// Pointer that becomes null when its target dies; three words, registered in the target's
/// reference-count block.
///
/// Threads: Lock() may run while other threads release the target or lock other weak pointers to
/// it. One weak pointer object is not to be written by one thread while another one uses it.
template<class T>
class CbWeakPointer
{
public:
    /// Null.
    CbWeakPointer() noexcept = default;
    /// Registers with @p target, which may be null; the caller keeps it alive meanwhile.
    explicit CbWeakPointer(const CbSmartPointer<T>& target) noexcept { set(target.Get()); }
    /// Registers with the other's target. Null if that is being destroyed.
    CbWeakPointer(const CbWeakPointer& other) noexcept : CbWeakPointer(other.Lock()) {}
    ~CbWeakPointer() { clear(); }

    /// Moves the link to the other's target. Null if that is being destroyed.
    CbWeakPointer& operator=(const CbWeakPointer& other) noexcept { return *this = other.Lock(); }
    /// Moves the link to @p target. The locks of the old and the new target are taken one after the
    /// other, never both.
    CbWeakPointer& operator=(const CbSmartPointer<T>& target) noexcept
    {
        if (target.Get() == load()) return *this;
        clear();
        set(target.Get());
        return *this;
    }

    /// Returns a strong reference to the target, or null if there is none or it is being
    /// destroyed.
    [[nodiscard]] CbSmartPointer<T> Lock() const noexcept
    {
        for (T* target = load(); target != nullptr; target = load()) {
            CbReferenceCounter* const block = blockOf(target);
            const CbCriticalSectionLock lock(CbReferenceCounter::LockOf(block));
            if (load() != target) continue;
            block->AddReference();
            return CbSmartPointer<T>::Adopt(target);
        }
        return nullptr;
    }

    /// Returns the target, or null if there is none any more, without a reference. For who knows
    /// that no other thread gives the target up meanwhile.
    [[nodiscard]] T* Borrow() const noexcept { return load(); }

    /// Returns the target's address for comparisons. It may be gone by now: never dereference it.
    [[nodiscard]] const T* GetAddress() const noexcept { return load(); }

private:
    [[nodiscard]] T* load() const noexcept
    {
        return static_cast<T*>(link_.target.load(std::memory_order_acquire));
    }

    // Address arithmetic only: the target may be dead.
    static CbReferenceCounter* blockOf(T* target) noexcept
    {
        static_assert(std::is_base_of_v<CbReferenceCounted, T>,
                      "the block must be found without touching the object");
        return &CbReferenceCounter::Of(*target);
    }

    void set(T* target) noexcept
    {
        if (target == nullptr) return;
        CbReferenceCounter* const block = blockOf(target);
        const CbCriticalSectionLock lock(CbReferenceCounter::LockOf(block));
        link_.target.store(const_cast<std::remove_const_t<T>*>(target), std::memory_order_release);
        block->Link(link_);
    }

    void clear() noexcept
    {
        T* const target = load();
        if (target == nullptr) return;
        CbReferenceCounter* const block = blockOf(target);
        const CbCriticalSectionLock lock(CbReferenceCounter::LockOf(block));
        if (load() != target) return; // died meanwhile and unlinked this
        block->Unlink(link_);
        link_.target.store(nullptr, std::memory_order_release);
    }

    CbWeakLink link_;
};
