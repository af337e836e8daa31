#include "platform/base/cblargememory.h"

#include <cstdint>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <new>
#include <utility>
#include <vector>

#if defined(__linux__)
#include <unistd.h>
#endif

namespace
{

constexpr std::size_t c_mebibyte = std::size_t{1} << 20U;

TEST(LargeMemory, IsAlignedAndAsLargeAsAskedFor)
{
    EXPECT_EQ(CbLargeMemory().Get(), nullptr);
    EXPECT_EQ(CbLargeMemory(0).Get(), nullptr);
    for (const std::size_t bytes : {std::size_t{1}, std::size_t{65}, 2 * c_mebibyte - 1,
                                    2 * c_mebibyte, 5 * c_mebibyte + 1}) {
        CbLargeMemory memory(bytes);
        ASSERT_NE(memory.Get(), nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory.Get()) % 64, 0U) << bytes;
        std::memset(memory.Get(), 1, bytes);
        const std::byte* const before = memory.Get();
        const CbLargeMemory moved = std::move(memory);
        EXPECT_EQ(moved.Get(), before);
    }
}

#if !defined(TREE_ADDRESS_SANITIZER)
TEST(LargeMemory, IsKeptForPiecesOfAboutItsSizeOnly)
{
    CbLargeMemory::GiveBackKept(); // what other tests have freed
    const auto freed = [](std::size_t bytes) { return CbLargeMemory(bytes).Get(); };
    const std::byte* const kept = freed(20 * c_mebibyte);
    EXPECT_NE(CbLargeMemory(20 * c_mebibyte + 1).Get(), kept) << "too small";
    EXPECT_NE(CbLargeMemory(15 * c_mebibyte).Get(), kept) << "much too large";
    const CbLargeMemory again(17 * c_mebibyte);
    EXPECT_EQ(again.Get(), kept);
    EXPECT_NE(CbLargeMemory(17 * c_mebibyte).Get(), kept) << "in use";
}

#if defined(__linux__)
std::size_t residentBytes()
{
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST(LargeMemory, IsGivenBackWhereMuchIsFreed)
{
    for (const bool memoryEnds : {false, true}) {
        const std::size_t before = residentBytes();
        {
            std::vector<CbLargeMemory> pieces;
            for (std::size_t mebibytes = 2; mebibytes < 24; ++mebibytes) {
                pieces.emplace_back(mebibytes * c_mebibyte);
                std::memset(pieces.back().Get(), 1, mebibytes * c_mebibyte);
            }
            EXPECT_GT(residentBytes(), before + 200 * c_mebibyte);
        }
        const std::size_t kept = residentBytes();
        EXPECT_LT(kept, before + 80 * c_mebibyte);
        if (memoryEnds) {
            EXPECT_THROW(CbLargeMemory(std::size_t{1} << 60U), std::bad_alloc);
        } else {
            CbLargeMemory::GiveBackKept();
        }
        EXPECT_LT(residentBytes() + 40 * c_mebibyte, kept) << "all of it: " << memoryEnds;
    }
}
#endif
#endif

} // namespace
