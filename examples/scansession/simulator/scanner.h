#pragma once

#include "examples/scansession/scans/scansource.h"
#include "examples/scansession/simulator/dentalarch.h"

#include <cstdint>

namespace scansession
{

/// A simulated intraoral scanner: depth images of a dental arch, ray-cast from a path that passes
/// over the biting edges, then along the outside, then along the inside.
///
/// Everything follows from the seed, with the same bits on each run and with each compiler. Each
/// image is 160 x 120 rays over about 16 x 12 mm. Rays that hit nothing or too slanted a surface
/// give no surfel. Depth noise is 0.01 mm (standard deviation), along the ray.
class Scanner : public ScanSource
{
public:
    Scanner(std::uint64_t seed, std::size_t frames);

    [[nodiscard]] std::string Stage() const override { return "simulating scans"; }
    [[nodiscard]] std::size_t Count() const override { return frames_; }
    [[nodiscard]] Scan Take(std::size_t index) const override;

    [[nodiscard]] const DentalArch& Arch() const { return arch_; }

    static constexpr double c_depthNoise = 0.01;

private:
    [[nodiscard]] CbMatrix4Rd poseOf(std::size_t index) const;

    std::uint64_t seed_;
    std::size_t frames_;
    DentalArch arch_;
};

} // namespace scansession
