#include "platform/base/cbexception.h"
#include "platform/base/cbweakpointer.h"
#include "platform/messages/cymessagedispatcher.h"
#include "platform/messages/zecmessagetransformationchanged.h"
#include "platform/messages/zecmessagetreestructuremodified.h"

#include <atomic>
#include <barrier>
#include <functional>
#include <gmock/gmock.h>
#include <stdexcept>
#include <thread>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using Structure = ZeCMessageTreeStructureModified;

class TheMessageQueue : public testing::Test
{
protected:
    ~TheMessageQueue() override { EXPECT_EQ(dispatcher.GetNrQueuedMessages(), 0u); }

    void post(int type) const
    {
        CyMessageDispatcher::PostMessageW(
            CbMake<Structure>(node, nullptr, static_cast<Structure::EModificationType>(type)));
    }
    // Writes down what comes, and what else the callback is told to do.
    CyMessageSubscription record(int subscriber, std::function<void(int)> action = {})
    {
        return dispatcher.Subscribe(Structure::RTTI, [=, this](const CyMessage& message) {
            const int type = static_cast<const Structure&>(message).GetModificationType();
            seen.push_back(10 * subscriber + type);
            if (action) action(type);
        });
    }
    std::vector<int> dispatch()
    {
        seen.clear();
        dispatcher.DispatchMessages();
        return seen;
    }

    CyMessageDispatcher& dispatcher = CyMessageDispatcher::GetInstance();
    CbSmartPointer<CyNode> node = CbMake<CyNode>();
    std::vector<int> seen;
};

TEST_F(TheMessageQueue, DeliversToTheClassAndItsBasesWhenPumped)
{
    int all = 0;
    const auto everything = dispatcher.Subscribe(CyMessage::RTTI, [&](const CyMessage&) { ++all; });
    const auto first = record(1);
    auto second = record(2);
    post(1);
    CyMessageDispatcher::PostMessageW(
        CbMake<ZeCMessageTransformationChanged>(node, c_matIdentityF));
    post(4);
    EXPECT_THAT(seen, IsEmpty());
    EXPECT_THAT(dispatch(), ElementsAre(11, 21, 14, 24));
    EXPECT_EQ(all, 3);

    const auto moved = std::move(second);
    second = record(3);
    second = record(4); // replaces the one before
    post(1);
    EXPECT_THAT(dispatch(), ElementsAre(11, 21, 41));
}

TEST_F(TheMessageQueue, KeepsNothingThatNobodyWants)
{
    const CbWeakPointer<CyNode> alive(node);
    post(1);
    {
        const auto subscription = record(1);
        post(2);
        EXPECT_EQ(dispatcher.GetNrQueuedMessages(), 1u);
        node = nullptr;
        EXPECT_NE(alive.Lock(), nullptr);
    }
    EXPECT_EQ(alive.Lock(), nullptr) << "the message went with its last subscriber";
    EXPECT_THAT(dispatch(), IsEmpty());
}

TEST_F(TheMessageQueue, LetsCallbacksPostSubscribeAndUnsubscribe)
{
    CyMessageSubscription late;
    CyMessageSubscription second;
    const auto first = record(1, [&](int type) {
        if (type != 1) return;
        post(2);
        second.Unsubscribe();
        late = record(3);
        EXPECT_EQ(dispatcher.DispatchMessages(), 0u) << "no delivery inside a delivery";
    });
    second = record(2);
    post(1);
    EXPECT_THAT(dispatch(), ElementsAre(11)) << "what was posted waits for the next call";
    EXPECT_THAT(dispatch(), ElementsAre(12, 32));

    CyMessageSubscription once;
    once = record(4, [&](int) { once.Unsubscribe(); });
    post(5);
    post(5);
    EXPECT_THAT(dispatch(), ElementsAre(15, 35, 45, 15, 35));
    EXPECT_FALSE(once.IsActive());
}

TEST_F(TheMessageQueue, GoesOnAfterACallbackThatThrows)
{
    const auto subscription = record(1, [](int type) {
        if (type == 1) throw std::runtime_error("callback");
    });
    post(1);
    post(2);
    EXPECT_THROW(dispatcher.DispatchMessages(), std::runtime_error);
    EXPECT_THAT(dispatch(), ElementsAre(12));
    EXPECT_THROW((void)dispatcher.Subscribe(CyMessage::RTTI, {}), CbException);
}

class TheMessageQueueThreads : public TheMessageQueue
{};

TEST_F(TheMessageQueueThreads, UnsubscribingWaitsForADeliveryThatRuns)
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

TEST_F(TheMessageQueueThreads, KeepTheOrderOfEachPosterAndLoseNothing)
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
