#include "platform/datacontainer/models/qmt_depthimage.h"

const CbRTTI QMT_DepthImage::RTTI(CB_TEXT("QMT_DepthImage"), &CreateByFactory, &CloneByFactory,
                                  &ZeCModelQMT::RTTI);

QMT_DepthImage::~QMT_DepthImage() = default;

IObject* QMT_DepthImage::CreateByFactory() { return new QMT_DepthImage; }

IObject* QMT_DepthImage::CloneByFactory(const IObject& object)
{
    return new QMT_DepthImage(dynamic_cast<const QMT_DepthImage&>(object));
}

const CbRTTI& QMT_DepthImage::GetRTTI() const { return RTTI; }
