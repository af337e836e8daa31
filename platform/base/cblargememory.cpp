#include "platform/base/cblargememory.h"

#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace
{

constexpr std::size_t c_cacheLine = 64;

#if defined(__linux__) && defined(MADV_HUGEPAGE)

constexpr std::size_t c_largePage = std::size_t{2} << 20U;

std::align_val_t alignmentOf(std::size_t bytes) noexcept
{
    return std::align_val_t{bytes < c_largePage ? c_cacheLine : c_largePage};
}

void askForLargePages(void* memory, std::size_t bytes) noexcept
{
    const std::size_t whole = bytes / c_largePage * c_largePage;
    if (whole != 0) madvise(memory, whole, MADV_HUGEPAGE); // refused: usual pages
}

#else

std::align_val_t alignmentOf(std::size_t /*bytes*/) noexcept
{
    return std::align_val_t{c_cacheLine};
}

void askForLargePages(void* /*memory*/, std::size_t /*bytes*/) noexcept {}

#endif

} // namespace

CbLargeMemory::CbLargeMemory(std::size_t bytes)
{
    if (bytes == 0) return;
    memory_ = {static_cast<std::byte*>(::operator new(bytes, alignmentOf(bytes))), {bytes}};
    askForLargePages(memory_.get(), bytes);
}

void CbLargeMemory::Free::operator()(std::byte* memory) const noexcept
{
    ::operator delete(memory, alignmentOf(bytes));
}
