#include "platform/base/cbcriticalsection.h"

#include <gtest/gtest.h>
#include <thread>

namespace
{

// The analysis knows nothing of locks that are entered twice.
CB_NO_THREAD_SAFETY_ANALYSIS bool otherThreadEnters(CbCriticalSection& section)
{
    bool entered = false;
    std::jthread([&]() CB_NO_THREAD_SAFETY_ANALYSIS {
        entered = section.TryEnter();
        if (entered) section.Leave();
    }).join();
    return entered;
}

CB_NO_THREAD_SAFETY_ANALYSIS void enterTwice(CbCriticalSection& section)
{
    EXPECT_TRUE(otherThreadEnters(section));
    section.Enter();
    {
        const CbCriticalSectionLock lock(section);
        EXPECT_FALSE(otherThreadEnters(section));
    }
    EXPECT_FALSE(otherThreadEnters(section));
    section.Leave();
    EXPECT_TRUE(otherThreadEnters(section));
}

TEST(ACriticalSectionThreads, IsLeftAsOftenAsItWasEntered)
{
    CbCriticalSection section;
    enterTwice(section);
}

} // namespace
