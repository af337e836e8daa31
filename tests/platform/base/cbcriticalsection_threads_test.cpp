#include "platform/base/cbcriticalsection.h"

#include <barrier>
#include <gtest/gtest.h>
#include <numeric>
#include <thread>
#include <vector>

namespace
{

// Adds to a sum in each of the ways to enter the section; returns how much was added.
CB_NO_THREAD_SAFETY_ANALYSIS long addInAllWays(CbCriticalSection& section, long& sum, int rounds)
{
    long added = 0;
    for (int i = 0; i < rounds; ++i) {
        section.Enter();
        section.Enter();
        const bool isInsideAgain = section.TryEnter();
        sum += isInsideAgain ? 2 : 0;
        section.Leave();
        section.Leave();
        if (isInsideAgain) section.Leave();
        added += 2;
        if (!section.TryEnter()) continue;
        ++sum;
        section.Leave();
        ++added;
    }
    return added;
}

TEST(ACriticalSection, LetsOneThreadInAtATime)
{
    constexpr int c_threads = 8;
    CbCriticalSection section;
    long sum = 0;
    std::vector<long> added(c_threads);
    {
        std::barrier start(c_threads);
        std::vector<std::jthread> threads;
        for (int i = 0; i < c_threads; ++i) {
            threads.emplace_back([&, i] {
                start.arrive_and_wait();
                added[i] = addInAllWays(section, sum, 2000);
            });
        }
    }
    EXPECT_EQ(sum, std::accumulate(added.begin(), added.end(), 0L));
}

} // namespace
