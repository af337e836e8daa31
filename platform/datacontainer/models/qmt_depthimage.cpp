#include "platform/datacontainer/models/qmt_depthimage.h"

const CbRTTI QMT_DepthImage::RTTI(CB_TEXT("QMT_DepthImage"), &CreateByFactory, &CloneByFactory,
                                  &ZeCModelQMT::RTTI);

QMT_DepthImage::~QMT_DepthImage() = default;
