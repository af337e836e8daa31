#include "platform/datatree/cysurfelcollectionbase.h"

const CbRTTI CySurfelCollectionBase::RTTI(CB_TEXT("CySurfelCollectionBase"), nullptr, nullptr);

CySurfelCollectionBase::~CySurfelCollectionBase() = default;

const CbRTTI& CySurfelCollectionBase::GetRTTI() const { return RTTI; }
