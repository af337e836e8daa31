#include "platform/base/cbcriticalsection.h"

#include <barrier>
#include <gtest/gtest.h>
#include <numeric>
#include <thread>
#include <vector>

namespace
{

// Adds to a sum inside of the section in each of the ways to enter it; returns how much was added.
CB_NO_THREAD_SAFETY_ANALYSIS long addInAllWays(CbCriticalSection& section, long& sum, int rounds)
{
    long added = 0;
    for (int i = 0; i < rounds; ++i) {
        section.Enter();
        ++sum;
        section.Enter();
        ++sum;
        section.Leave();
        if (section.TryEnter()) { // always: this thread is inside
            ++sum;
            section.Leave();
        }
        section.Leave();
        added += 3;
        if (section.TryEnter()) {
            ++sum;
            section.Leave();
            ++added;
        }
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
