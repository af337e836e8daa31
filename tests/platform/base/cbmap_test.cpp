#include "platform/base/cbmap.h"
#include "tests/support/rounds.h"

#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <random>

namespace
{

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
    EXPECT_EQ(map.GetCount(), 1U);
    EXPECT_NE(map.Find(3), nullptr);
}

} // namespace
