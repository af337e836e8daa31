#include "platform/base/cbmap.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/base/cyuniqueid.h"
#include "tests/support/rounds.h"

#include <gmock/gmock.h>
#include <map>
#include <memory>
#include <random>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

// The bucket is told by the last digits.
struct Digits
{
    std::size_t operator()(int key) const noexcept { return static_cast<std::size_t>(key); }
};

template<class Map>
std::vector<int> keysOf(const Map& map)
{
    std::vector<int> keys;
    for (const auto& [key, value] : map) keys.push_back(key);
    return keys;
}

TEST(AMap, AgreesWithAnOrderedMapThroughRandomEdits)
{
    for (unsigned seed = 0; seed < 4; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        CbMap<int, std::shared_ptr<int>> map;
        std::map<int, std::shared_ptr<int>> model;
        for (int round = 0; round < Rounds(20000); ++round) {
            const int key = static_cast<int>(random() % 700);
            if (random() % 1000 == 0) map.Reserve(random() % 2000);
            switch (random() % 4) {
            case 0:
            case 1:
                model[key] = std::make_shared<int>(round);
                map.Set(key, model[key]);
                break;
            case 2: {
                const auto entry = model.find(key);
                const auto expected = entry != model.end() ? entry->second : nullptr;
                ASSERT_EQ(map.Take(key), expected);
                model.erase(key);
                break;
            }
            default: {
                const auto entry = model.find(key);
                const auto* const found = map.Find(key);
                ASSERT_EQ(found != nullptr, entry != model.end());
                ASSERT_TRUE(found == nullptr || *found == entry->second);
            }
            }
            ASSERT_EQ(map.GetCount(), model.size());
        }
        auto copy = map;
        EXPECT_EQ(copy.GetCount(), map.GetCount());
        for (const auto& [key, value] : model) ASSERT_EQ(copy.Take(key), value);
        EXPECT_TRUE(copy.IsEmpty()) << "and the map itself stays as it is";
        copy = std::move(map);
        map.Set(1, nullptr); // NOLINT: a moved-from map is empty and can be used
        EXPECT_EQ(map.GetCount(), 1U);
        map = std::move(copy);
        std::map<int, std::shared_ptr<int>> visited;
        for (const auto& [key, value] : map) {
            ASSERT_TRUE(visited.emplace(key, value).second) << key << " visited twice";
            ASSERT_EQ(value.use_count(), 3) << "removed values linger";
        }
        EXPECT_EQ(visited, model);
    }
}

TEST(AMap, IsVisitedByBucketsThenChains)
{
    CbMap<int, int, Digits> map;
    for (const int key : {35, 3, 19, 1}) map.Set(key, key); // 16 buckets
    EXPECT_THAT(keysOf(map), ElementsAre(1, 19, 3, 35));
    map.Remove(3);
    map.Remove(1);
    EXPECT_THAT(keysOf(map), ElementsAre(19, 35));
    map.Empty();
    EXPECT_THAT(keysOf(map), IsEmpty());
}

TEST(AMap, MayBeEditedByTheDestructorOfAValueThatLeavesIt)
{
    using Value = std::shared_ptr<void>;
    CbMap<int, Value> map;
    for (int key = 1; key <= 100; ++key) {
        map.Set(key, Value(nullptr, [&map, key](void*) { map.Remove(key - 1); }));
    }
    map.Remove(100); // each one takes the one before with it
    EXPECT_TRUE(map.IsEmpty());

    map.Set(1, Value(nullptr, [&map](void*) { map.Set(2, nullptr); }));
    map.Set(1, Value(nullptr, [&map](void*) { map.Set(3, nullptr); }));
    EXPECT_EQ(map.GetCount(), 2U);
    map.Empty();
    EXPECT_EQ(keysOf(map), std::vector<int>{3});
}

// The addresses of objects differ in few bits, and ids may have been counted up.
TEST(AHashKey, SpreadsKeysThatDifferInFewBits)
{
    constexpr std::size_t c_keys = 4096;
    const auto longestChain = [](auto keyOf) {
        std::vector<int> buckets(c_keys);
        int longest = 0;
        for (std::size_t i = 0; i < c_keys; ++i) {
            auto key = keyOf(i);
            longest = std::max(longest, ++buckets[CbHashKey<decltype(key)>{}(key) % c_keys]);
        }
        return longest;
    };
    EXPECT_LE(longestChain([](std::size_t i) { return reinterpret_cast<const void*>(i << 12); }),
              12);
    EXPECT_LE(longestChain([](std::size_t i) { return static_cast<std::uint64_t>(i) << 40; }), 12);
    for (const std::size_t place : {0, 6, 7, 14}) {
        SCOPED_TRACE(place);
        EXPECT_LE(longestChain([place](std::size_t i) {
                      CyUniqueID::Bytes bytes{};
                      bytes[place] = static_cast<std::uint8_t>(i);
                      bytes[place + 1] = static_cast<std::uint8_t>(i >> 8);
                      return CyUniqueID(bytes);
                  }),
                  12);
    }
}

} // namespace
