#pragma once

#include <new>

/// Holds an object that is made with it and never destroyed, for statics that others reach until
/// the very end of the process. Takes no memory from the heap.
///
/// @code
/// static CbImmortal<Registry> instance;
/// return *instance;
/// @endcode
template<class T>
class CbImmortal
{
public:
    /// Makes the object by its default constructor.
    CbImmortal() : object_(*::new (static_cast<void*>(storage_)) T()) {}
    CbImmortal(const CbImmortal&) = delete;
    CbImmortal& operator=(const CbImmortal&) = delete;

    /// The object, for as long as the process runs.
    [[nodiscard]] T& operator*() const noexcept { return object_; }

private:
    alignas(T) unsigned char storage_[sizeof(T)];
    T& object_;
};
