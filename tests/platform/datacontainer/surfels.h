#pragma once

#include "platform/datacontainer/zecsurfelcollectionqmt.h"

#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <string_view>

/// The attributes of a surfel as they are stored; comparing them compares bits.
inline std::string SurfelBytes(const ZeCSurfelContainer& container, std::uint32_t i)
{
    std::string bytes;
    const auto add = [&](const auto& value) {
        bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    };
    add(container.GetPositionAccessor()[i]);
    add(container.GetNormalAccessor()[i]);
    add(container.GetColorAccessor()[i]);
    add(container.GetQualityAccessor().data()[i]);
    add(container.GetTissueTypeAccessor()[i]);
    add(container.GetBoundaryFlagAccessor()[i]);
    add(container.GetCurvatureAccessor()[i]);
    return bytes;
}

/// The bytes of each array.
inline std::array<std::string_view, 7> SurfelArrays(const ZeCSurfelContainer& surfels)
{
    const auto bytes = [](const auto& array) {
        return std::string_view(reinterpret_cast<const char*>(array.data()),
                                array.size() * sizeof *array.data());
    };
    return {bytes(surfels.GetPositionAccessor()),   bytes(surfels.GetNormalAccessor()),
            bytes(surfels.GetColorAccessor()),      bytes(surfels.GetQualityAccessor()),
            bytes(surfels.GetTissueTypeAccessor()), bytes(surfels.GetBoundaryFlagAccessor()),
            bytes(surfels.GetCurvatureAccessor())};
}

/// A number made from all results that tests have passed in so far. Programs that run with other
/// kernels print the same one.
inline std::size_t resultDigest = 0;

inline void AddToDigest(const ZeCSurfelContainer& result)
{
    for (const std::string_view array : SurfelArrays(result)) {
        resultDigest = 31 * resultDigest + std::hash<std::string_view>()(array);
    }
}

inline void ExpectSameSurfels(const ZeCSurfelContainer& expected, const ZeCSurfelContainer& actual)
{
    AddToDigest(actual);
    if (SurfelArrays(expected) == SurfelArrays(actual)) return;
    ASSERT_EQ(expected.GetNrSurfels(), actual.GetNrSurfels());
    for (std::uint32_t i = 0; i < expected.GetNrSurfels(); ++i) {
        ASSERT_EQ(SurfelBytes(expected, i), SurfelBytes(actual, i)) << "surfel " << i;
    }
}

/// Surfels whose attributes are all different from one to the next.
inline CbSmartPointer<ZeCSurfelCollectionQMT> RandomSurfels(std::mt19937& random,
                                                            std::uint32_t count)
{
    auto surfels = CbMake<ZeCSurfelCollectionQMT>(
        count, false, ZeCSurfelContainer::ESurfelAttributeSet::Subsampled, nullptr);
    std::uniform_real_distribution<float> coordinate(-40.0F, 40.0F);
    for (std::uint32_t i = 0; i < count; ++i) {
        for (float CbVector3f::*axis : {&CbVector3f::x, &CbVector3f::y, &CbVector3f::z}) {
            surfels->GetPositionAccessor()[i].*axis = coordinate(random);
        }
        const auto byte = [&] { return static_cast<std::uint8_t>(random()); };
        surfels->GetNormalAccessor()[i] =
            ZeCQuantizedNormal::FromCode(static_cast<std::uint16_t>(random()));
        surfels->GetColorAccessor()[i] = {byte(), byte(), byte(), byte()};
        surfels->GetQualityAccessor().data()[i] = byte();
        surfels->GetTissueTypeAccessor()[i] = byte();
        surfels->GetBoundaryFlagAccessor()[i] = byte() % 2 == 0;
        surfels->GetCurvatureAccessor()[i] = byte();
    }
    return surfels;
}
