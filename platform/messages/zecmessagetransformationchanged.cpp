#include "platform/messages/zecmessagetransformationchanged.h"

#include <utility>

const CbRTTI ZeCMessageTransformationChanged::RTTI(CB_TEXT("ZeCMessageTransformationChanged"),
                                                   nullptr, nullptr, &CyMessage::RTTI);

ZeCMessageTransformationChanged::ZeCMessageTransformationChanged(CbSmartPointer<CyNode> node,
                                                                 const CbMatrix4Rf& trafo) noexcept
    : node_(std::move(node)), trafo_(trafo)
{}

ZeCMessageTransformationChanged::~ZeCMessageTransformationChanged() = default;

const CbRTTI& ZeCMessageTransformationChanged::GetRTTI() const { return RTTI; }
