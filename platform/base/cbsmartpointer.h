#pragma once

/// @file
/// The strong pointer, and what makes and casts it.

#include "platform/base/cbreferencecounted.h"

#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <utility>

/// Intrusive strong pointer to a reference-counted object; one word.
///
/// Converts implicitly from derived to base and from T to const T only. Assignment takes the new
/// reference before it gives the old one back, so `node = node->FrontChild()` is safe although the
/// old node may own the new one.
///
/// Threads: the count is atomic; one smart pointer object is not to be written by one thread while
/// another one uses it.
template<class T>
class CbSmartPointer
{
public:
    /// The type of the object, as the standard library asks for it.
    using element_type = T;

    /// Null.
    CbSmartPointer() noexcept = default;
    CbSmartPointer(std::nullptr_t) noexcept {} // NOLINT: null converts as for raw pointers
    /// Takes a reference to @p object, which may be null and may be unowned so far.
    explicit CbSmartPointer(T* object) noexcept : object_(object) { addReference(); }
    /// Copies share the object, moves leave null behind.
    CbSmartPointer(const CbSmartPointer& other) noexcept : object_(other.object_)
    {
        addReference();
    }
    CbSmartPointer(CbSmartPointer&& other) noexcept : object_(std::exchange(other.object_, nullptr))
    {}
    template<class U>
    requires std::convertible_to<U*, T*> CbSmartPointer(const CbSmartPointer<U>& other)
    noexcept : object_(other.Get()) // NOLINT
    {
        addReference();
    }
    template<class U>
    requires std::convertible_to<U*, T*> CbSmartPointer(CbSmartPointer<U>&& other)
    noexcept : object_(other.Detach()) // NOLINT
    {}
    /// Gives the reference back, which deletes the object if it was the last one.
    ~CbSmartPointer()
    {
        if (object_ != nullptr) CbReferenceCounter::Of(*object_).Release(object_);
    }

    /// By value: the new reference is taken before the old one goes with the parameter.
    CbSmartPointer& operator=(CbSmartPointer other) noexcept
    {
        Swap(other);
        return *this;
    }

    /// The object, or null; no reference is taken.
    [[nodiscard]] T* Get() const noexcept { return object_; }
    /// The object; not to be used on null.
    T& operator*() const noexcept { return *object_; }
    T* operator->() const noexcept { return object_; }
    /// True if there is an object.
    explicit operator bool() const noexcept { return object_ != nullptr; }

    /// Exchanges the objects; no count changes.
    void Swap(CbSmartPointer& other) noexcept { std::swap(object_, other.object_); }
    /// Gives the reference to the caller, who has to give it back, and becomes null.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(object_, nullptr); }
    /// Becomes the owner of a reference that somebody else took.
    [[nodiscard]] static CbSmartPointer Adopt(T* object) noexcept
    {
        CbSmartPointer pointer;
        pointer.object_ = object;
        return pointer;
    }

    /// Comparison is by address.
    template<class U>
    friend bool operator==(const CbSmartPointer& a, const CbSmartPointer<U>& b) noexcept
    {
        return a.Get() == b.Get();
    }
    friend bool operator==(const CbSmartPointer& a, std::nullptr_t) noexcept
    {
        return a.object_ == nullptr;
    }
    template<class U>
    friend bool operator<(const CbSmartPointer& a, const CbSmartPointer<U>& b) noexcept
    {
        return std::less<const void*>{}(a.Get(), b.Get());
    }

private:
    void addReference() const noexcept
    {
        if (object_ != nullptr) CbReferenceCounter::Of(*object_).AddReference();
    }

    T* object_ = nullptr;
};

/// Makes an object and the first reference to it. T's constructor must be accessible here.
template<class T, class... Args>
[[nodiscard]] CbSmartPointer<T> CbMake(Args&&... args)
{
    return CbSmartPointer<T>(new T(std::forward<Args>(args)...));
}

/// Casts down. The caller knows the type. Null stays null.
template<class T, class U>
[[nodiscard]] CbSmartPointer<T> CbStaticPointerCast(CbSmartPointer<U> pointer) noexcept
{
    return CbSmartPointer<T>::Adopt(static_cast<T*>(pointer.Detach()));
}

/// Casts down; null if the object is of another type.
template<class T, class U>
[[nodiscard]] CbSmartPointer<T> CbDynamicPointerCast(const CbSmartPointer<U>& pointer) noexcept
{
    return CbSmartPointer<T>(dynamic_cast<T*>(pointer.Get()));
}

/// Hash of the address, so that equal pointers have equal ones.
template<class T>
struct std::hash<CbSmartPointer<T>>
{
    /// As std::hash does for raw pointers.
    std::size_t operator()(const CbSmartPointer<T>& pointer) const noexcept
    {
        return std::hash<T*>{}(pointer.Get());
    }
};
