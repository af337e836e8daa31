#include "platform/base/cyuniqueid.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace
{

TEST(NewIds, DifferAcrossThreadsAndAreOfVersion4)
{
    constexpr std::size_t c_threads = 4;
    constexpr std::size_t c_ids = 5000;
    std::vector<CyUniqueID> ids(c_threads * c_ids);
    {
        std::vector<std::jthread> threads;
        for (std::size_t t = 0; t < c_threads; ++t) {
            threads.emplace_back([&ids, t] {
                for (std::size_t i = 0; i < c_ids; ++i) ids[t * c_ids + i].Renew();
            });
        }
    }
    std::ranges::sort(ids);
    EXPECT_EQ(std::ranges::adjacent_find(ids), ids.end());

    CyUniqueID::Bytes allSet{};
    CyUniqueID::Bytes allClear{};
    allClear.fill(0xFF);
    for (const CyUniqueID& id : ids) {
        for (std::size_t i = 0; i < allSet.size(); ++i) {
            allSet[i] |= id.GetBytes()[i];
            allClear[i] &= id.GetBytes()[i];
        }
    }
    // Every bit takes both values but those of the version and the variant.
    for (std::size_t i = 0; i < allSet.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(allSet[i], i == 6 ? 0x4F : i == 8 ? 0xBF : 0xFF);
        EXPECT_EQ(allClear[i], i == 6 ? 0x40 : i == 8 ? 0x80 : 0x00);
    }
}

} // namespace
