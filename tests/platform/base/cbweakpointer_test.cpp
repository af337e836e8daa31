#include "platform/base/cbweakpointer.h"
#include "tests/platform/base/counted.h"
#include "tests/support/rounds.h"

#include <barrier>
#include <gtest/gtest.h>
#include <optional>
#include <thread>
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

TEST(WeakPointersThreads, NeverYieldATargetThatIsGoing)
{
    constexpr int c_threads = 3;
    CbSmartPointer<Counted> target;
    std::optional<CbWeakPointer<Counted>> weak;
    std::barrier step(c_threads + 1);
    const int rounds = Rounds(2000);

    std::vector<std::jthread> threads;
    for (int t = 0; t < c_threads; ++t) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                step.arrive_and_wait();
                for (int i = 0; i < 50; ++i) { // bounded: it starves the one who lets go
                    const auto locked = weak->Lock();
                    if (!locked) break;
                    EXPECT_EQ(locked->number, round);
                    const CbWeakPointer<Counted> mine(locked);
                    CbWeakPointer<Counted> copy = mine;
                    copy = CbSmartPointer<Counted>();
                    EXPECT_EQ(mine.Lock(), locked);
                }
                step.arrive_and_wait();
            }
        });
    }
    for (int round = 0; round < rounds; ++round) {
        target = CbMake<Counted>(round);
        weak.emplace(target);
        step.arrive_and_wait();
        target = nullptr;
        step.arrive_and_wait();
        EXPECT_FALSE(weak->Lock());
        EXPECT_EQ(Counted::alive, 0);
    }
}

TEST(WeakPointersThreads, GoTogetherWithTheirTargets)
{
    // The last reference and the links to the object go at the same time on different threads.
    std::barrier step(2);
    CbSmartPointer<Counted> target;
    std::vector<std::optional<CbWeakPointer<Counted>>> links(8);
    const int rounds = Rounds(3000);
    std::jthread other([&] {
        for (int round = 0; round < rounds; ++round) {
            step.arrive_and_wait();
            for (auto& link : links) link.reset();
            step.arrive_and_wait();
        }
    });
    for (int round = 0; round < rounds; ++round) {
        target = CbMake<Counted>(round);
        for (auto& link : links) link.emplace(target);
        step.arrive_and_wait();
        target = nullptr;
        step.arrive_and_wait();
    }
    EXPECT_EQ(Counted::alive, 0);
}

} // namespace
