#include "tests/fuzz/fuzzing.h"

#include <atomic>
#include <gtest/gtest.h>
#include <sanitizer/allocator_interface.h>

namespace
{

constexpr std::size_t c_anyInput = 128 * 1024;

std::atomic<std::size_t> s_allocated{0};
std::atomic<std::size_t> s_peak{0};

void onAllocation(const volatile void* /*memory*/, std::size_t size)
{
    const std::size_t allocated = s_allocated += size;
    if (allocated > s_peak) s_peak = allocated;
}

void onRelease(const volatile void* memory)
{
    s_allocated -= __sanitizer_get_allocated_size(const_cast<const void*>(memory));
}

} // namespace

LittleMemory::LittleMemory(std::size_t inputBytes)
    : most_(s_allocated + c_anyInput + 3 * inputBytes)
{
    s_peak = s_allocated.load();
}

LittleMemory::~LittleMemory() { EXPECT_LT(s_peak, most_); }

// An expectation that fails throws what nobody catches: that is what a fuzzer takes for a finding.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    GTEST_FLAG_SET(throw_on_failure, true);
    return __sanitizer_install_malloc_and_free_hooks(&onAllocation, &onRelease) != 0 ? 0 : 1;
}
