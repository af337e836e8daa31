#include "examples/scansession/drawing/overview.h"
#include "examples/scansession/session/session.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <limits>

using namespace scansession;
using testing::ElementsAre;

namespace
{

constexpr Rgb c_red{250, 0, 0};
constexpr Rgb c_green{0, 250, 0};
constexpr Rgb c_blue{0, 0, 250};
constexpr Rgb c_white{250, 250, 250};

PlacedModel Placed(const std::vector<Surfel>& surfels)
{
    return {CbMake<ZeCModelQMT>(PackSurfels(surfels), false), {}};
}

/// The faces of a cube that look to +x, +y and +z, and grey ones behind them. Where all of x, y and
/// z are close to 10 they are white.
Surface Cube(double step)
{
    std::vector<Surfel> surfels;
    const auto add = [&](const Vec3& position, const Vec3& normal, Rgb colour) {
        const bool isCorner = std::min({position.x, position.y, position.z}) > 5.0;
        surfels.push_back({position, normal, isCorner ? c_white : colour});
    };
    for (double a = -10.0; a <= 10.0; a += step) {
        for (double b = -10.0; b <= 10.0; b += step) {
            add({10.0, a, b}, {1.0, 0.0, 0.0}, c_red);
            add({a, 10.0, b}, {0.0, 1.0, 0.0}, c_green);
            add({a, b, 10.0}, {0.0, 0.0, 1.0}, c_blue);
            add({-10.0, a, b}, {1.0, 0.0, 0.0}, {128, 128, 128}); // hidden
            add({a, b, 10.1}, {0.0, 0.0, -1.0}, {128, 128, 128}); // seen from behind
        }
    }
    return {Placed(surfels)};
}

/// The colours in the middle of the quarters of each view: left and right above, left and right
/// below.
std::vector<Rgb> QuartersOf(const Picture& picture)
{
    std::vector<Rgb> colours;
    for (const int middle : {250, 750, 1250}) {
        for (const int y : {145, 445}) {
            for (const int x : {-150, 150}) {
                const auto index = static_cast<std::size_t>(y * picture.Width() + middle + x);
                colours.push_back(picture.Pixels().at(index));
            }
        }
    }
    return colours;
}

} // namespace

TEST(Overview, ShowsTheFrontOfASurfaceUprightAndWithoutHoles)
{
    for (const double step : {0.05, 0.5, 1.0}) {
        SCOPED_TRACE(step);
        Surface surface = Cube(step);
        const double infinite = std::numeric_limits<double>::infinity();
        surface.push_back(Placed({Surfel{{0.0, infinite, 0.0}, {0.0, 1.0, 0.0}},
                                  Surfel{{1e35, 6.5, -6.5}, {1.0, 0.0, 0.0}}}));
        const Picture picture = DrawOverview(surface);
        EXPECT_THAT(QuartersOf(picture), ElementsAre(c_blue, c_white, c_blue, c_blue,    // top
                                                     c_white, c_green, c_green, c_green, // front
                                                     c_red, c_white, c_red, c_red));     // side
        const auto& pixels = picture.Pixels();
        for (int y = 100; y < 500; ++y) {
            const auto row = pixels.begin() + y * picture.Width() + 50;
            ASSERT_EQ(std::count(row, row + 400, pixels[0]), 0) << "holes in row " << y;
        }
    }
}

TEST(Overview, OfNothingOrOneSurfelIsDrawnToo)
{
    const auto nothing = DrawOverview({}).Pixels();
    const auto one = DrawOverview({Placed({Surfel{{3.0, 4.0, 5.0}, {1.0, 1.0, 1.0}}})}).Pixels();
    EXPECT_NE(nothing, one);
}
