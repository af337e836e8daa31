#pragma once

#include "platform/base/cbreferencecounted.h"
#include "platform/base/cbrtti.h"
#include "platform/base/iobject.h"

/// Base of the messages that CyMessageDispatcher delivers. A message does not change once posted.
class PLATFORM_API CyMessage : public CbReferenceCounted, public IObject
{
public:
    /// The record of this class, which is abstract.
    static const CbRTTI RTTI;

    [[nodiscard]] CbReferenceCounter& getReferenceCounter() const noexcept override
    {
        return CbReferenceCounted::getReferenceCounter();
    }

protected:
    CyMessage() = default;
    CyMessage(const CyMessage&) = default;
    CyMessage& operator=(const CyMessage&) = default;
    ~CyMessage() override;
};
