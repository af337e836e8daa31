#include "platform/base/cbweakpointer.h"
#include "tests/platform/base/counted.h"

#include <gtest/gtest.h>
#include <optional>
#include <vector>

namespace
{

TEST(AWeakPointer, IsNullWhileItsTargetIsDestroyed)
{
    auto target = CbMake<Counted>();
    CbWeakPointer<Counted> weak(target);
    CbSmartPointer<Counted> revived;
    bool asked = false;
    target->farewell = [&] {
        asked = true;
        revived = weak.Lock();
    };
    target = nullptr;
    EXPECT_TRUE(asked);
    EXPECT_FALSE(revived);
    EXPECT_EQ(weak.GetAddress(), nullptr);
}

TEST(AWeakPointer, MovesFromTargetToTarget)
{
    auto first = CbMake<Counted>(1);
    auto second = CbMake<Counted>(2);
    std::vector<std::optional<CbWeakPointer<Counted>>> links(5);
    for (auto& link : links) link.emplace(first);
    *links[1] = second;    // out of the middle of the list
    *links[4] = second;    // its head
    *links[0] = *links[1]; // its tail
    links[2].reset();
    *links[3] = links[3]->Lock(); // stays
    const CbWeakPointer<const Counted> constant{CbSmartPointer<const Counted>(second)};
    EXPECT_EQ(constant.Lock(), second);
    EXPECT_EQ(links[3]->GetAddress(), first.Get());
    EXPECT_EQ(first->GetReferences(), 1);
    first = nullptr;
    EXPECT_FALSE(links[3]->Lock());
    for (const int i : {0, 1, 4}) EXPECT_EQ(links[static_cast<std::size_t>(i)]->Lock(), second);
    links.clear();
    second = nullptr;
    EXPECT_EQ(Counted::alive, 0);
}

} // namespace
