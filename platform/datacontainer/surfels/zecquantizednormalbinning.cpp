#include "platform/datacontainer/surfels/zecquantizednormalbinning.h"

#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace
{

using Bin = ZeCQuantizedNormalBinning::Bin;

constexpr std::uint32_t c_version = 1;
constexpr std::size_t c_bytesPerBin = 32;

// Normals cancel out if their sum is shorter than this part of their number. Not only if it
// is zero: opposite directions on borders of codes have codes that are not quite opposite.
constexpr int c_cancelled = 64;

std::int64_t toUnits(float coordinate)
{
    return std::llround(static_cast<double>(coordinate) * ZeCQuantizedNormalBinning::c_units);
}

// Neither later additions nor the sum over all cells can overflow if this holds.
bool isPossible(const Bin& bin)
{
    const std::int64_t most = bin.count * ZeCQuantizedNormalBinning::c_units;
    return bin.code < ZeCQuantizedNormalBinning::c_cells && bin.count > 0 &&
           std::all_of(bin.sum.begin(), bin.sum.end(),
                       [&](auto sum) { return -most <= sum && sum <= most; });
}

} // namespace

void ZeCQuantizedNormalBinning::Add(ZeCQuantizedNormal normal)
{
    const std::uint32_t code = normal.GetCode(c_level);
    auto bin = std::lower_bound(bins_.begin(), bins_.end(), code,
                                [](const Bin& a, std::uint32_t b) { return a.code < b; });
    if (bin == bins_.end() || bin->code != code) bin = bins_.insert(bin, Bin{code});
    if (bin->count == std::numeric_limits<std::uint32_t>::max()) return;
    const CbVector3f direction = normal.GetNormal();
    ++bin->count;
    bin->sum[0] += toUnits(direction.x);
    bin->sum[1] += toUnits(direction.y);
    bin->sum[2] += toUnits(direction.z);
}

CbVector3f ZeCQuantizedNormalBinning::ComputeMeanDirectionAboveThresholdCount(
    std::uint32_t threshold) const noexcept
{
    std::array<std::int64_t, 3> sum{};
    std::uint64_t count = 0;
    for (const auto& bin : bins_) {
        if (bin.count <= threshold) continue;
        count += bin.count;
        for (std::size_t axis = 0; axis < sum.size(); ++axis) sum[axis] += bin.sum[axis];
    }
    const auto x = static_cast<double>(sum[0]);
    const auto y = static_cast<double>(sum[1]);
    const auto z = static_cast<double>(sum[2]);
    const double length = std::sqrt(x * x + y * y + z * z);
    const double equal = static_cast<double>(count) * c_units; // its length if all were equal
    if (count == 0 || length * c_cancelled < equal) return {};
    return {static_cast<float>(x / length), static_cast<float>(y / length),
            static_cast<float>(z / length)};
}

void ZeCQuantizedNormalBinning::Serialize(CbStreamWriteBinary& stream) const
{
    stream.WriteVersion(c_version);
    stream << static_cast<std::uint32_t>(bins_.size());
    for (const auto& bin : bins_) {
        stream << bin.code << bin.count << bin.sum[0] << bin.sum[1] << bin.sum[2];
    }
}

void ZeCQuantizedNormalBinning::Serialize(CbStreamReadBinary& stream)
{
    stream.ReadKnownVersion(c_version, c_version, __FILE__, __LINE__);
    std::uint32_t count = 0;
    stream >> count;
    if (count > c_cells || count > stream.Remaining() / c_bytesPerBin) {
        throw CbExceptionStream(CB_HERE, std::to_string(count) + " cells cannot be in the " +
                                             std::to_string(stream.Remaining()) + " bytes left");
    }
    std::vector<Bin> bins(count);
    std::uint32_t leastCode = 0;
    for (auto& bin : bins) {
        stream >> bin.code >> bin.count >> bin.sum[0] >> bin.sum[1] >> bin.sum[2];
        if (bin.code < leastCode || !isPossible(bin)) {
            throw CbExceptionStream(CB_HERE, "cell " + std::to_string(bin.code) + " with " +
                                                 std::to_string(bin.count) +
                                                 " normals is out of order or impossible");
        }
        leastCode = bin.code + 1;
    }
    bins_.swap(bins);
}
