#include "platform/base/cbexception.h"
#include "platform/base/cbweakpointer.h"
#include "platform/messages/zecmessagetransformationchanged.h"
#include "tests/platform/messages/messagequeue.h"

#include <stdexcept>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
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

} // namespace
