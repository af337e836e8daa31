#pragma once

#include "platform/datacontainer/models/zecmodelqmt.h"

/// The model of a single depth image, as the scanner delivers it.
class PLATFORM_API QMT_DepthImage : public CbClonableObject<QMT_DepthImage, ZeCModelQMT>
{
public:
    using CbClonableObject::CbClonableObject;

    /// The record of this class.
    static const CbRTTI RTTI;

protected:
    QMT_DepthImage(const QMT_DepthImage&) = default;
    QMT_DepthImage& operator=(const QMT_DepthImage&) = delete;
    ~QMT_DepthImage() override;

private:
    friend CbClonableObject;
};
