#include "tests/platform/messages/messagequeue.h"

#include <atomic>
#include <barrier>
#include <thread>

namespace
{

TEST_F(TheMessageQueue, UnsubscribingWaitsForADeliveryThatRuns)
{
    std::barrier inside(2);
    int delivered = 0; // plain: the wait is what makes the reading below safe
    auto subscription = record(1, [&](int) {
        inside.arrive_and_wait();
        for (int i = 0; i < 1000; ++i) std::this_thread::yield();
        ++delivered;
    });
    post(1);
    std::thread pump([this] { dispatcher.DispatchMessages(); });
    inside.arrive_and_wait();
    subscription.Unsubscribe();
    EXPECT_EQ(delivered, 1);
    pump.join();
}

TEST_F(TheMessageQueue, KeepsTheOrderOfEachPosterAndLosesNothing)
{
    constexpr int c_posters = 3;
    constexpr int c_messages = 2000;
    const auto subscription = record(0);
    std::atomic<int> running{c_posters};
    std::vector<std::thread> threads;
    for (int poster = 0; poster < c_posters; ++poster) {
        threads.emplace_back([&, poster] {
            for (int i = 0; i < c_messages; ++i) {
                post(poster * c_messages + i);
                if (i % 100 == 0) {
                    const auto passing =
                        dispatcher.Subscribe(Structure::RTTI, [](const CyMessage&) {});
                }
            }
            --running;
        });
    }
    for (int pump = 0; pump < 2; ++pump) {
        threads.emplace_back([&] {
            while (running > 0) dispatcher.DispatchMessages();
        });
    }
    for (auto& thread : threads) thread.join();
    dispatcher.DispatchMessages();
    EXPECT_EQ(seen.size(), std::size_t{c_posters * c_messages});
    std::vector<int> next(c_posters, 0);
    for (const int type : seen) {
        EXPECT_EQ(type % c_messages, next[static_cast<std::size_t>(type / c_messages)]++);
    }
}

} // namespace
