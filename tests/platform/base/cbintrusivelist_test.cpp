#include "platform/base/cbintrusivelist.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace
{

struct Element
{
    CbListLinks<Element> links;
};

TEST(AnIntrusiveList, HoldsWhatAVectorOfPointersHoldsAfterAnyEdits)
{
    std::array<Element, 6> elements;
    CbIntrusiveList<Element, &Element::links> list;
    std::vector<Element*> expected;
    std::mt19937 random(1);
    for (int step = 0; step < 20000; ++step) {
        Element& element = elements[random() % elements.size()];
        const auto listed = std::find(expected.begin(), expected.end(), &element);
        const auto other =
            expected.begin() + static_cast<std::ptrdiff_t>(random() % (expected.size() + 1));
        if (listed != expected.end()) {
            list.Remove(element);
            expected.erase(listed);
        } else if (other == expected.end()) {
            list.PushBack(element);
            expected.push_back(&element);
        } else if (random() % 2 == 0) {
            list.Replace(**other, element);
            *other = &element;
        } else {
            list.InsertBehind(other == expected.begin() ? nullptr : *(other - 1), element);
            expected.insert(other, &element);
        }

        std::vector<Element*> forward;
        for (Element& each : list) forward.push_back(&each);
        ASSERT_EQ(forward, expected) << step;
        std::vector<Element*> backward;
        for (auto* at = list.Last(); at != nullptr; at = list.Before(*at)) backward.push_back(at);
        std::reverse(backward.begin(), backward.end());
        ASSERT_EQ(backward, expected) << step;
        ASSERT_EQ(list.IsEmpty(), expected.empty());
    }
}

} // namespace
