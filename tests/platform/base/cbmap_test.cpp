#include "platform/base/cbmap.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/base/cyuniqueid.h"
#include "tests/support/rounds.h"

#include <functional>
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
    const auto chainOf3 = keysOf(map);
    EXPECT_THAT(chainOf3, ElementsAre(1, 19, 3, 35));

    map.Remove(3);
    map.Remove(1);
    EXPECT_THAT(keysOf(map), ElementsAre(19, 35));
    for (const auto& [key, value] : map) value = -key;
    EXPECT_EQ(*map.Find(19), -19);
    map.Empty();
    EXPECT_THAT(keysOf(map), IsEmpty());
    EXPECT_EQ(map.Find(19), nullptr);
}

TEST(AMap, ReleasesAValueWhenItsKeyGoes)
{
    CbMap<CyUniqueID, std::shared_ptr<int>> map;
    CyUniqueID id;
    id.Renew();
    auto value = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = value;

    map.Set(id, std::move(value));
    map.Remove(CyUniqueID()); // absent
    EXPECT_FALSE(watch.expired());
    map.Remove(id);
    EXPECT_TRUE(watch.expired());

    value = std::make_shared<int>(2);
    const std::weak_ptr<int> second = value;
    map.Set(id, std::move(value));
    map.Set(id, nullptr);
    EXPECT_TRUE(second.expired());
    EXPECT_EQ(map.GetCount(), 1U);
}

// Does something when it goes.
struct Farewell
{
    std::shared_ptr<std::function<void()>> action;

    Farewell() = default;
    explicit Farewell(std::function<void()> function)
        : action(std::make_shared<std::function<void()>>(std::move(function)))
    {}
    Farewell(const Farewell&) = default;
    Farewell(Farewell&&) = default;
    Farewell& operator=(const Farewell&) = default;
    Farewell& operator=(Farewell&&) = default;
    ~Farewell()
    {
        if (action != nullptr && action.use_count() == 1) (*action)();
    }
};

TEST(AMap, MayBeEditedByTheDestructorOfAValueThatLeavesIt)
{
    CbMap<int, Farewell> map;
    for (int key = 1; key <= 100; ++key) {
        map.Set(key, Farewell([&map, key] { map.Remove(key - 1); }));
    }
    map.Remove(100); // each one takes the one before with it
    EXPECT_TRUE(map.IsEmpty());

    map.Set(1, Farewell([&map] { map.Set(2, Farewell()); }));
    map.Set(1, Farewell());
    EXPECT_EQ(map.GetCount(), 2U);

    map.Set(1, Farewell([&map] { map.Set(3, Farewell()); }));
    map.Empty();
    EXPECT_EQ(map.GetCount(), 1U);
}

TEST(AMap, CopiesStandOnTheirOwnAndAMovedFromOneIsEmpty)
{
    CbMap<int, int> map;
    for (int key = 0; key < 50; ++key) map.Set(key, key);
    map.Remove(7);
    CbMap<int, int> copy = map;
    copy.Set(7, 7);
    EXPECT_EQ(map.Find(7), nullptr);
    EXPECT_EQ(copy.GetCount(), 50U);

    const CbMap<int, int> moved = std::move(copy);
    EXPECT_EQ(moved.GetCount(), 50U);
    copy.Set(1, 2); // NOLINT: a moved-from map is empty and can be used
    EXPECT_EQ(copy.GetCount(), 1U);
    map = copy;
    EXPECT_EQ(map.GetCount(), 1U);
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
