#include "platform/attributes/zearttiattribute.h"

const CbRTTI ZeARTTIAttribute::RTTI(CB_TEXT("ZeARTTIAttribute"), nullptr, nullptr);

ZeARTTIAttribute::~ZeARTTIAttribute() = default;

bool ZeARTTIAttribute::ResetAttribute() { return false; }
