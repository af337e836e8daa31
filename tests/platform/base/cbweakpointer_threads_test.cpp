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

TEST(WeakPointers, NeverYieldATargetThatIsGoing)
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

TEST(WeakPointers, GoTogetherWithTheirTargets)
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
