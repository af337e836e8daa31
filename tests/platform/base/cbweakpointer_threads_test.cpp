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
    std::vector<std::optional<CbWeakPointer<Counted>>> others(c_threads);
    std::barrier step(c_threads + 1);
    const int rounds = Rounds(2000);

    std::vector<std::jthread> threads;
    for (std::size_t t = 0; t < c_threads; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < rounds; ++round) {
                step.arrive_and_wait();
                if (round % 2 == 0) others[t].reset(); // links go together with their target
                for (int i = 0; i < 50; ++i) {         // bounded: it starves the one who lets go
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
        for (auto& other : others) other.emplace(target);
        step.arrive_and_wait();
        target = nullptr;
        step.arrive_and_wait();
        EXPECT_FALSE(weak->Lock());
        EXPECT_EQ(Counted::alive, 0);
    }
}

} // namespace
