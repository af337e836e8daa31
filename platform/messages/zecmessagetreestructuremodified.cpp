#include "platform/messages/zecmessagetreestructuremodified.h"

#include <utility>

const CbRTTI ZeCMessageTreeStructureModified::RTTI(CB_TEXT("ZeCMessageTreeStructureModified"),
                                                   nullptr, nullptr, &CyMessage::RTTI);

ZeCMessageTreeStructureModified::ZeCMessageTreeStructureModified(CbSmartPointer<CyNode> node,
                                                                 CbSmartPointer<CyNode> father,
                                                                 EModificationType type) noexcept
    : node_(std::move(node)), father_(std::move(father)), type_(type)
{}

ZeCMessageTreeStructureModified::~ZeCMessageTreeStructureModified() = default;

const CbRTTI& ZeCMessageTreeStructureModified::GetRTTI() const { return RTTI; }
