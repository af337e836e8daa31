#include "platform/base/cbevent.h"
#include "platform/base/cbexception.h"
#include "platform/base/cbthread.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

namespace
{

TEST(AnEvent, RemembersOneEarlySet)
{
    CbEvent event;
    EXPECT_FALSE(event.Wait(0));
    event.Set();
    event.Set();
    event.Wait();
    EXPECT_FALSE(event.Wait(1));
    event.Set();
    EXPECT_TRUE(event.Wait(0));
    event.Set();
    event.Reset();
    EXPECT_FALSE(event.Wait(0));
}

TEST(AThread, RunsUntilAStopIsRequestedAndIsJoinedWhenItGoes)
{
    CbEvent running;
    std::atomic<bool> ended{false};
    {
        CbThread thread(CB_TEXT("A name longer than the system takes"), [&](CbThread& self) {
            EXPECT_TRUE(self.IsRunning());
            running.Set();
            while (self.IsRunning()) std::this_thread::yield();
            ended = true;
        });
        EXPECT_TRUE(thread.IsRunning());
        EXPECT_FALSE(running.Wait(0));
        thread.Start();
        running.Wait();
        EXPECT_THROW(thread.Start(), CbException);
        EXPECT_FALSE(ended);
        thread.RequestStop();
    }
    EXPECT_TRUE(ended);
    const CbThread neverStarted(CB_TEXT("idle"), [](CbThread&) {});
}

TEST(AThread, KeepsWhatEscapesItsFunction)
{
    CbThread thread(CB_TEXT("failing"), [](CbThread&) { throw std::runtime_error("escaped"); });
    thread.Start();
    thread.Join();
    thread.Join();
    ASSERT_NE(thread.GetFailure(), nullptr);
    EXPECT_THROW(std::rethrow_exception(thread.GetFailure()), std::runtime_error);
}

} // namespace
