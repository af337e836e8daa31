#include "platform/datatree/cytriangulationbase.h"

const CbRTTI CyTriangulationBase::RTTI(CB_TEXT("CyTriangulationBase"), nullptr, nullptr);

CyTriangulationBase::~CyTriangulationBase() = default;

const CbRTTI& CyTriangulationBase::GetRTTI() const { return RTTI; }
