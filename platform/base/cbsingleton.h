#pragma once

/// @file
/// One object of a class in the process.

#include "platform/base/cbcriticalsection.h"
#include "platform/base/platformapi.h"

#include <atomic>
#include <cstdlib>

/// The lock under which singletons are created. Recursive, so that a constructor may reach another
/// singleton; never destroyed.
[[nodiscard]] PLATFORM_API CbCriticalSection& CbSingletonLock() noexcept;

/// Access to the one object of a class in the process.
///
/// The object is made on first use, by any thread. Singletons die at exit in the reverse order of
/// their creation; whoever reaches another one in a destructor asks HasInstance() first. T
/// befriends this class if its constructor or destructor is private.
///
/// A class of a shared library declares `extern template class EXPORT CbSingleton<T>;` in its
/// header and instantiates it in its source, so that all modules share one instance.
template<class T>
class CbSingleton
{
public:
    CbSingleton() = delete;

    /// Returns the object, made if there is none. Cost: one atomic load after the first call.
    [[nodiscard]] static T& GetInstance()
    {
        T* instance = instance_.load(std::memory_order_acquire);
        return instance != nullptr ? *instance : create();
    }

    /// True between creation and destruction.
    [[nodiscard]] static bool HasInstance() noexcept
    {
        return instance_.load(std::memory_order_acquire) != nullptr;
    }

protected:
    /// Destroys the object, if there is one: at exit, or for a test that derives from this class.
    static void destroy() noexcept
    {
        delete instance_.exchange(nullptr, std::memory_order_acq_rel);
    }

private:
    static T& create()
    {
        const CbCriticalSectionLock lock(CbSingletonLock());
        if (T* instance = instance_.load(std::memory_order_acquire)) return *instance;
        T* const instance = new T;
        instance_.store(instance, std::memory_order_release);
        std::atexit(&destroy);
        return *instance;
    }

    static std::atomic<T*> instance_;
};

template<class T>
std::atomic<T*> CbSingleton<T>::instance_{nullptr};
