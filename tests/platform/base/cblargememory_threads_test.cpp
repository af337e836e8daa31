#include "platform/base/cblargememory.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <vector>

namespace
{

constexpr std::size_t c_mebibyte = std::size_t{1} << 20U;

TEST(PiecesOfLargeMemory, BelongToOneThreadEach)
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
