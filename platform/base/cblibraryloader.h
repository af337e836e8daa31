#pragma once

#include "platform/base/cbwchar.h"
#include "platform/base/platformapi.h"

/// Finds entry points in libraries that are loaded while the program runs.
///
/// Threads: any thread at any time.
class PLATFORM_API CbLibraryLoader
{
public:
    /// A loaded library; null for none.
    using Library = void*;
    /// A function of any type; the caller knows which one.
    using EntryPoint = void (*)();

    CbLibraryLoader() = delete;

    /// Loads a library by its file name from where the system looks for libraries, or returns the
    /// one that is loaded already. Null if there is none, and for a null or empty name.
    /// Libraries stay loaded.
    [[nodiscard]] static Library Load(const CbWChar* name);
    /// Returns an entry point of a library by its exact name, or null.
    [[nodiscard]] static EntryPoint Find(Library library, const char* name) noexcept;
};
