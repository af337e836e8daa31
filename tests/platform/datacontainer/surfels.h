#pragma once

#include "platform/datacontainer/surfels/zecsurfelcollectionqmt.h"
#include "platform/math3d/cbmatrixinternal.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string_view>

inline constexpr float c_infinity = std::numeric_limits<float>::infinity();
inline constexpr float c_nan = std::numeric_limits<float>::quiet_NaN();

/// The bytes of each array; comparing them compares bits. Positions come first.
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
    ASSERT_EQ(expected.GetNrSurfels(), actual.GetNrSurfels());
    const auto of = SurfelArrays(expected), are = SurfelArrays(actual);
    for (std::size_t i = 0; i < of.size(); ++i) {
        const auto first = std::mismatch(of[i].begin(), of[i].end(), are[i].begin()).first;
        ASSERT_EQ(of[i].end(), first)
            << "array " << i << " differs at byte " << first - of[i].begin();
    }
}

inline std::array<double, 3> Coordinates(const CbVector3f& v) { return {v.x, v.y, v.z}; }

inline double Dot(const std::array<double, 3>& a, const std::array<double, 3>& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

inline double CosineBetween(const std::array<double, 3>& a, const std::array<double, 3>& b)
{
    return Dot(a, b) / std::sqrt(Dot(a, a) * Dot(b, b));
}

/// A normal mapped as planes are, by the inverse transpose; of any length.
inline std::array<double, 3> MappedNormal(const CbVector3f& normal, const CbMatrix4Rf& m)
{
    CbMatrix4Rd inverse;
    for (int i = 0; i < 16; ++i) inverse.data()[i] = double(m.data()[i]);
    CbMatrixInternal::Invert(inverse);
    std::array<double, 3> mapped;
    for (int j = 0; j < 3; ++j)
        mapped[j] = Dot(Coordinates(normal), {inverse[j][0], inverse[j][1], inverse[j][2]});
    return mapped;
}

inline CbMatrix4Rf ShiftBy(float x, float y, float z)
{
    return CbMatrix4Rf({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1});
}

/// Surfels whose attributes are none.
inline CbSmartPointer<ZeCSurfelCollectionQMT> Neutral(std::uint32_t count)
{
    return CbMake<ZeCSurfelCollectionQMT>(
        count, true, ZeCSurfelContainer::ESurfelAttributeSet::Subsampled, nullptr);
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
