#pragma once

#include "platform/datacontainer/models/zecmodelqmt.h"

/// The model of a single depth image, as the scanner delivers it.
class PLATFORM_API QMT_DepthImage : public ZeCModelQMT
{
public:
    using ZeCModelQMT::ZeCModelQMT;

    /// The record of this class.
    static const CbRTTI RTTI;

    /// Makes a model without collections.
    static IObject* CreateByFactory();
    /// The clone has a new id and shares the collections.
    /// Throws: std::bad_cast for an object of another class.
    static IObject* CloneByFactory(const IObject& object);
    [[nodiscard]] const CbRTTI& GetRTTI() const override;

protected:
    QMT_DepthImage(const QMT_DepthImage&) = default;
    QMT_DepthImage& operator=(const QMT_DepthImage&) = delete;
    ~QMT_DepthImage() override;
};
