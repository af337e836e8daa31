#include "platform/base/cystackwalker.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
// Behind windows.h.
#include <intrin.h>
#define CALLER_OF_THIS_FUNCTION _ReturnAddress()
#elif __has_include(<execinfo.h>)
#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <memory>
#define CALLER_OF_THIS_FUNCTION __builtin_return_address(0)
#else
#define CALLER_OF_THIS_FUNCTION nullptr
#endif

namespace
{

constexpr std::size_t c_deepest = 256;

using Frames = std::array<void*, c_deepest>;

[[maybe_unused]] void appendOffset(std::string& line, std::uintptr_t offset)
{
    static constexpr char c_digits[] = "0123456789abcdef";
    std::string text;
    do {
        text.push_back(c_digits[offset & 0xF]);
        offset >>= 4;
    } while (offset != 0);
    line.append("+0x").append(text.rbegin(), text.rend());
}

#if defined(_WIN32)

std::size_t collect(Frames& frames)
{
    return CaptureStackBackTrace(0, c_deepest, frames.data(), nullptr);
}

std::string describe(void* address)
{
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<LPCWSTR>(address), &module)) {
        return "?";
    }
    std::array<wchar_t, MAX_PATH> path{};
    GetModuleFileNameW(module, path.data(), MAX_PATH - 1);
    std::string line = CString(path.data()).ToUtf8();
    appendOffset(line, reinterpret_cast<std::uintptr_t>(address) -
                           reinterpret_cast<std::uintptr_t>(module));
    return line;
}

#elif __has_include(<execinfo.h>)

std::size_t collect(Frames& frames)
{
    const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::string describe(void* address)
{
    // The address is where the call returns to, which may be the next function already.
    const auto call = reinterpret_cast<std::uintptr_t>(address) - 1;
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(call), &info) == 0) return "?";

    std::string line;
    if (info.dli_sname != nullptr) {
        int status = 0;
        const std::unique_ptr<char, decltype(&std::free)> name(
            abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, &status), &std::free);
        line.append(name ? name.get() : info.dli_sname).append(" in ");
    }
    line.append(info.dli_fname != nullptr ? info.dli_fname : "?");
    appendOffset(line, call - reinterpret_cast<std::uintptr_t>(info.dli_fbase));
    return line;
}

#else

std::size_t collect(Frames& /*frames*/) { return 0; }
std::string describe(void* /*address*/) { return {}; }

#endif

} // namespace

CString CyStackWalker::GetCallStack(std::size_t maxFrames, std::size_t skip) noexcept
{
    try {
        Frames frames;
        const auto end = frames.begin() + static_cast<std::ptrdiff_t>(collect(frames));
        // How many frames the walk itself has depends on inlining and on tools that wrap it.
        auto frame = std::find(frames.begin(), end, CALLER_OF_THIS_FUNCTION);
        frame += static_cast<std::ptrdiff_t>(std::min(skip, static_cast<std::size_t>(end - frame)));

        std::string lines;
        for (; frame != end && maxFrames > 0; ++frame, --maxFrames) {
            if (!lines.empty()) lines.push_back('\n');
            lines.append(describe(*frame));
        }
        return CString::FromUtf8(lines);
    } catch (...) {
        return {}; // a diagnosis must not become a failure of its own
    }
}
