#include "platform/messages/cymessage.h"

const CbRTTI CyMessage::RTTI(CB_TEXT("CyMessage"), nullptr, nullptr);

CyMessage::~CyMessage() = default;
