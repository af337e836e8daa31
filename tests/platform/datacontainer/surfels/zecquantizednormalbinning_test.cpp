#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "platform/datacontainer/surfels/zecquantizednormalbinning.h"
#include "tests/support/storedbytes.h"

#include <algorithm>
#include <random>

namespace
{

void add(ZeCQuantizedNormalBinning& binning, const CbVector3f& direction, int count)
{
    for (; count > 0; --count) binning.Add(ZeCQuantizedNormal(direction));
}

Bytes stored(const ZeCQuantizedNormalBinning& binning)
{
    return Stored([&](auto& stream) { binning.Serialize(stream); });
}

void read(ZeCQuantizedNormalBinning& binning, const Bytes& bytes)
{
    EXPECT_EQ(ReadFrom(bytes, [&](auto& stream) { binning.Serialize(stream); }), 0U);
}

// A record of version 1.
Bytes record(std::vector<ZeCQuantizedNormalBinning::Bin> bins)
{
    return Stored([&](auto& stream) {
        stream << std::uint32_t{1} << static_cast<std::uint32_t>(bins.size());
        for (const auto& bin : bins) {
            stream << bin.code << bin.count << bin.sum[0] << bin.sum[1] << bin.sum[2];
        }
    });
}

} // namespace

TEST(NormalBinning, HasTheMeanOfCellsAboveTheThreshold)
{
    constexpr CbVector3f c_none;
    ZeCQuantizedNormalBinning binning;
    EXPECT_EQ(binning.ComputeMeanDirectionAboveThresholdCount(0), c_none);
    add(binning, {0.1F, 0.1F, 1}, 3);
    add(binning, {-0.1F, -0.1F, 1}, 3);
    add(binning, {1, 0.1F, 0.1F}, 2);
    EXPECT_EQ(binning.GetBins().size(), 3U);
    const CbVector3f up = binning.ComputeMeanDirectionAboveThresholdCount(2);
    EXPECT_NEAR(up.x, 0, 0.01);
    EXPECT_NEAR(up.z, 1, 1e-4);
    EXPECT_EQ(binning.ComputeMeanDirectionAboveThresholdCount(3), c_none) << "not above";
    const CbVector3f both = binning.ComputeMeanDirectionAboveThresholdCount(1);
    EXPECT_NEAR(both.x / both.z, 2 / 6.2, 0.02) << "all normals weigh the same";
    EXPECT_NEAR(both.x * both.x + both.y * both.y + both.z * both.z, 1, 1e-6);
    binning.Clear();
    EXPECT_TRUE(binning.GetBins().empty());

    std::mt19937 random(3);
    std::normal_distribution<float> value;
    std::vector<CbVector3f> directions(500);
    for (auto& each : directions) each = {value(random), value(random), value(random)};
    for (const auto& each : directions) add(binning, each, 1);
    ZeCQuantizedNormalBinning other;
    std::reverse(directions.begin(), directions.end());
    for (const auto& each : directions) add(other, each, 1);
    EXPECT_EQ(stored(binning), stored(other)) << "in any order";
}

TEST(NormalBinning, HasNoMeanWhereNormalsCancelOut)
{
    constexpr CbVector3f c_none;
    ZeCQuantizedNormalBinning all;
    const auto expectNoMean = [&](const CbVector3f& direction, int count) {
        ZeCQuantizedNormalBinning binning;
        for (auto* each : {&binning, &all}) {
            add(*each, direction, count);
            add(*each, {-direction.x, -direction.y, -direction.z}, count);
            ASSERT_EQ(each->ComputeMeanDirectionAboveThresholdCount(0), c_none)
                << direction.x << ' ' << direction.y << ' ' << direction.z << ", " << count;
        }
    };
    const float steps[] = {-1, 0, 1};
    for (const float x : steps) {
        for (const float y : steps) {
            for (const float z : steps) {
                if (x == 0 && y == 0 && z == 0) continue;
                for (const int count : {1, 2, 100}) expectNoMean({x, y, z}, count);
            }
        }
    }
    std::mt19937 random(4);
    std::normal_distribution<float> value;
    for (int i = 0; i < 500; ++i) expectNoMean({value(random), value(random), value(random)}, 1);
    add(all, {0, 0, 1}, 1000);
    EXPECT_GT(all.ComputeMeanDirectionAboveThresholdCount(0).z, 0.9F) << "more than a 64th is left";

    constexpr std::int64_t c_one = ZeCQuantizedNormalBinning::c_units;
    const ZeCQuantizedNormalBinning::Bin ignored{9, 3, {-c_one, 0, 0}};
    read(all, record({{5, 64, {0, c_one, 0}}, ignored}));
    EXPECT_EQ(all.ComputeMeanDirectionAboveThresholdCount(3), (CbVector3f{0, 1, 0}));
    read(all, record({{5, 64, {0, c_one - 1, 0}}, ignored}));
    EXPECT_EQ(all.ComputeMeanDirectionAboveThresholdCount(3), c_none) << "shorter than a 64th";
}

TEST(NormalBinning, ComesBackAsItWasOrStaysAsItIs)
{
    constexpr std::uint32_t c_most = 0xFFFFFFFF;
    constexpr std::int64_t c_largest = c_most * ZeCQuantizedNormalBinning::c_units;
    std::vector<ZeCQuantizedNormalBinning::Bin> full(256);
    for (std::uint32_t code = 0; code < full.size(); ++code) {
        full[code] = {code, c_most, {0, -c_largest, 0}};
    }
    ZeCQuantizedNormalBinning binning;
    read(binning, record(full));
    EXPECT_EQ(binning.ComputeMeanDirectionAboveThresholdCount(c_most - 1), (CbVector3f{0, -1, 0}));
    add(binning, {0, 1, 0}, 1);
    Bytes bytes = stored(binning);
    EXPECT_EQ(bytes, record(full)) << "a full cell takes no more";

    while (!bytes.empty()) {
        bytes.pop_back();
        EXPECT_THROW(read(binning, bytes), CbExceptionStream) << bytes.size();
    }
    full.push_back(full.back());
    constexpr std::int64_t c_one = ZeCQuantizedNormalBinning::c_units;
    for (const auto& bad :
         {record(full), record({{256, 1, {}}}), record({{1, 0, {}}}),
          record({{2, 1, {}}, {1, 1, {}}}), record({{2, 1, {}}, {2, 1, {}}}),
          record({{1, 1, {0, 0, c_one + 1}}}), record({{1, 1, {-c_one - 1, 0, 0}}})}) {
        EXPECT_THROW(read(binning, bad), CbExceptionStream);
    }
    for (const std::uint32_t version : {0U, 2U}) {
        bytes = record({});
        bytes[0] = static_cast<std::uint8_t>(version);
        EXPECT_THROW(read(binning, bytes), CbExceptionWrongFileVersion);
    }
    full.pop_back();
    EXPECT_EQ(stored(binning), record(full));
}
