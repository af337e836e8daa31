#pragma once

#include "platform/base/cbobject.h"
#include "platform/base/cbrtti.h"

/// Base of the messages that CyMessageDispatcher delivers. A message does not change once posted.
class PLATFORM_API CyMessage : public CbObject
{
public:
    /// The record of this class, which is abstract.
    static const CbRTTI RTTI;

protected:
    CyMessage() = default;
    CyMessage(const CyMessage&) = default;
    CyMessage& operator=(const CyMessage&) = default;
    ~CyMessage() override;
};
