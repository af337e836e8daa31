#include "examples/scansession/scans/poses.h"
#include "examples/scansession/simulator/scanner.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>

using namespace scansession;

TEST(SimulatedScans, LieOnTheArchInTheFrameOfTheRoot)
{
    for (const std::size_t frames : {1U, 2U, 9U}) {
        SCOPED_TRACE(frames);
        const Scanner scanner(7, frames);
        for (std::size_t i = 0; i < frames; ++i) {
            const Scan scan = scanner.Take(i);
            EXPECT_GT(scan.surfels.size(), 3000U) << "the scanner looks past the arch";
            double worst = 0.0;
            for (const auto& surfel : scan.surfels) {
                const Vec3 p = MapPoint(surfel.position, scan.sensorToRoot);
                // Depth noise never exceeds 3.5 deviations.
                worst = std::max(worst, std::abs(scanner.Arch().Distance(p)));
            }
            EXPECT_LT(worst, 3.5 * Scanner::c_depthNoise + 0.001);
            EXPECT_GT(worst, Scanner::c_depthNoise) << "without noise";
        }
    }
}

TEST(SimulatedScans, HaveTheSameBitsWithEveryCompiler)
{
    const Scan scan = Scanner(1, 3).Take(1);
    std::uint64_t digest = 0xCBF29CE484222325U;
    const auto add = [&](std::uint64_t value) { digest = (digest ^ value) * 0x100000001B3U; };
    for (std::size_t i = 0; i < 16; ++i) {
        add(std::bit_cast<std::uint64_t>(scan.sensorToRoot.data()[i]));
    }
    for (const auto& surfel : scan.surfels) {
        for (const double v : {surfel.position.x, surfel.position.y, surfel.position.z,
                               surfel.normal.x, surfel.normal.y, surfel.normal.z, surfel.quality}) {
            add(std::bit_cast<std::uint64_t>(v));
        }
        for (const auto channel : surfel.colour) add(channel);
        add(surfel.curvature);
    }
    EXPECT_EQ(digest, 8403738166500918011U);
}
