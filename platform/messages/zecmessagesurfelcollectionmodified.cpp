#include "platform/messages/zecmessagesurfelcollectionmodified.h"

#include <utility>

const CbRTTI ZeCMessageSurfelCollectionModified::RTTI(CB_TEXT("ZeCMessageSurfelCollectionModified"),
                                                      nullptr, nullptr, &CyMessage::RTTI);

ZeCMessageSurfelCollectionModified::ZeCMessageSurfelCollectionModified(
    CbSmartPointer<CyNode> node, const CyUniqueID& model, EModificationType type) noexcept
    : node_(std::move(node)), model_(model), type_(type)
{}

ZeCMessageSurfelCollectionModified::~ZeCMessageSurfelCollectionModified() = default;

const CbRTTI& ZeCMessageSurfelCollectionModified::GetRTTI() const { return RTTI; }
