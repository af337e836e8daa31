#pragma once

#include "platform/messages/cymessagedispatcher.h"
#include "platform/messages/zecmessagetreestructuremodified.h"

#include <functional>
#include <gmock/gmock.h>
#include <vector>

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
