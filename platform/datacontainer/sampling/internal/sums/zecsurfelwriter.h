#pragma once

#include "platform/datacontainer/surfels/zecsurfelcontainer.h"

#include <cstddef>
#include <cstdint>
#include <span>

/// One surfel with all its attributes.
struct ZeCSurfel
{
    CbVector3f position;
    ZeCQuantizedNormal normal;
    ZeCCompressedColor color;
    std::uint8_t quality;
    std::uint8_t tissueType;
    bool boundary;
    std::uint8_t curvature;
};

/// Writes whole surfels into a container, whose number of surfels must not change meanwhile.
class ZeCSurfelWriter
{
public:
    explicit ZeCSurfelWriter(ZeCSurfelContainer& surfels) noexcept
        : positions_(surfels.GetPositionAccessor()),
          normals_(surfels.GetNormalAccessor()),
          colors_(surfels.GetColorAccessor()),
          qualities_(surfels.GetQualityAccessor().data()),
          tissueTypes_(surfels.GetTissueTypeAccessor()),
          boundaryFlags_(surfels.GetBoundaryFlagAccessor()),
          curvatures_(surfels.GetCurvatureAccessor())
    {}

    void Write(std::size_t i, const ZeCSurfel& surfel) const noexcept
    {
        positions_[i] = surfel.position;
        normals_[i] = surfel.normal;
        colors_[i] = surfel.color;
        qualities_[i] = surfel.quality;
        tissueTypes_[i] = surfel.tissueType;
        boundaryFlags_[i] = surfel.boundary;
        curvatures_[i] = surfel.curvature;
    }

private:
    std::span<CbVector3f> positions_;
    std::span<ZeCQuantizedNormal> normals_;
    std::span<ZeCCompressedColor> colors_;
    std::uint8_t* qualities_;
    std::span<std::uint8_t> tissueTypes_;
    std::span<bool> boundaryFlags_;
    std::span<std::uint8_t> curvatures_;
};
