#include "tests/platform/base/counted.h"

#include <gtest/gtest.h>

namespace
{

TEST(ASmartPointer, CanBeAssignedFromInsideTheObjectThatItReleases)
{
    auto node = CbMake<Counted>(0);
    auto* last = node.Get();
    for (int number = 1; number <= 3; ++number) {
        last->child = CbMake<Counted>(number);
        last = last->child.Get();
    }
    node = node->child;
    EXPECT_EQ(node->number, 1);
    node = std::move(node->child);
    EXPECT_EQ(node->number, 2);
    EXPECT_EQ(Counted::alive, 2);
    node = nullptr;
    EXPECT_EQ(Counted::alive, 0);
}

} // namespace
