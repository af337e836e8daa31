#include "platform/base/cblibraryloader.h"

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#else
#include "platform/base/cstring.h"

#include <dlfcn.h>
#endif

CbLibraryLoader::Library CbLibraryLoader::Load(const CbWChar* name)
{
    // To some systems, the empty name is the program itself.
    if (name == nullptr || *name == 0) return nullptr;
#if defined(_WIN32)
    return LoadLibraryW(name);
#else
    return dlopen(CString(name).ToUtf8().c_str(), RTLD_NOW | RTLD_LOCAL);
#endif
}

CbLibraryLoader::EntryPoint CbLibraryLoader::Find(Library library, const char* name) noexcept
{
    // To the system, null would be the program itself.
    if (library == nullptr) return nullptr;
#if defined(_WIN32)
    return reinterpret_cast<EntryPoint>(GetProcAddress(static_cast<HMODULE>(library), name));
#else
    return reinterpret_cast<EntryPoint>(dlsym(library, name));
#endif
}
