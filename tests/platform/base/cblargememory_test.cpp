#include "platform/base/cblargememory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <new>
#include <random>
#include <thread>
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

TEST(LargeMemoryThreads, GiveEachPieceToOneOfThem)
{
    std::vector<std::thread> threads;
    std::vector<int> disturbed(4);
    for (std::size_t id = 0; id < disturbed.size(); ++id) {
        threads.emplace_back([id, &disturbed] {
            std::minstd_rand random(static_cast<unsigned>(id + 1));
            for (int round = 0; round < 100; ++round) {
                const std::size_t bytes = (2 + random() % 4) * c_mebibyte;
                CbLargeMemory memory(bytes);
                const auto mark = static_cast<std::byte>(id);
                const std::size_t last = bytes - 1;
                for (std::size_t at : {std::size_t{0}, last}) memory.Get()[at] = mark;
                std::this_thread::yield();
                for (std::size_t at : {std::size_t{0}, last}) {
                    disturbed[id] += memory.Get()[at] == mark ? 0 : 1;
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(std::count(disturbed.begin(), disturbed.end(), 0), 4);
}

} // namespace
