#include "examples/scansession/poses.h"
#include "examples/scansession/scanner.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <string>

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

TEST(SimulatedScans, ShowTeethAndGumFromOutside)
{
    const Scanner scanner(1, 6);
    std::map<std::string, std::size_t> seen;
    for (std::size_t i = 0; i < scanner.Count(); ++i) {
        for (const auto& surfel : scanner.Take(i).surfels) {
            ASSERT_LT(surfel.position.z, 0.0) << "the sensor looks along -z";
            ASSERT_LT(Dot(surfel.normal, surfel.position), 0.0) << "normal away from the sensor";
            ASSERT_NEAR(Length(surfel.normal), 1.0, 1e-12);
            ASSERT_TRUE(surfel.quality >= 0.0 && surfel.quality <= 1.0);
            const bool isTooth = surfel.tissue == Tissue::Tooth;
            ASSERT_EQ(isTooth, surfel.colour[1] * 4 > surfel.colour[0] * 3) << "gum is redder";
            ++seen[isTooth ? "tooth" : "gum"];
            ++seen[surfel.boundary ? "boundary" : "inside"];
            if (std::abs(surfel.curvature - 128) > 10) {
                ++seen[surfel.curvature > 128 ? "convex" : "concave"];
            }
        }
    }
    EXPECT_EQ(seen.size(), 6U);
    for (const auto& [kind, count] : seen) EXPECT_GT(count, 500U) << kind;
    EXPECT_LT(seen["boundary"], seen["inside"] / 4);
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

TEST(TheDentalArch, HasTheNormalsAndCurvaturesOfItsField)
{
    const DentalArch arch(3);
    for (double x = -24.0; x <= 24.0; x += 1.7) {
        SCOPED_TRACE(x);
        Vec3 p = DentalArch::MiddleLine(x) + Vec3{0.0, 0.0, 20.0};
        for (int i = 0; i < 200; ++i) p = p - Vec3{0.0, 0.0, 0.7 * arch.Distance(p)};
        ASSERT_NEAR(arch.Distance(p), 0.0, 1e-6);
        const auto feature = arch.FeatureAt(p);
        const Vec3& normal = feature.normal;
        EXPECT_GT(normal.z, 0.0) << "the surface is seen from above";

        // The field changes along the normal only; across, it bends away by the curvature.
        constexpr double c_step = 0.05;
        const Vec3 across = Normalized(Cross(normal, {0.3, 1.0, 0.2}));
        const Vec3 other = Cross(normal, across);
        const double growth =
            (arch.Distance(p + normal * c_step) - arch.Distance(p - normal * c_step)) /
            (2.0 * c_step);
        EXPECT_GT(growth, 0.1);
        double sum = 0.0;
        for (const Vec3& direction : {across, other}) {
            const double ahead = arch.Distance(p + direction * c_step);
            const double behind = arch.Distance(p - direction * c_step);
            EXPECT_NEAR(ahead - behind, 0.0, 0.01 * 2.0 * c_step * growth);
            sum += ahead + behind;
        }
        const double curvature = 0.5 * sum / (c_step * c_step * growth);
        EXPECT_NEAR(feature.meanCurvature, curvature, 0.05 + 0.1 * std::abs(curvature));
    }
}
