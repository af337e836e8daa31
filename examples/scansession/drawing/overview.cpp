#include "examples/scansession/drawing/overview.h"

#include "examples/scansession/drawing/orthographicview.h"
#include "examples/scansession/drawing/picturetext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>

namespace scansession
{

namespace
{

constexpr int c_height = 600;
constexpr int c_viewWidth = 500;
constexpr int c_gap = 6; // on each side of a view
constexpr int c_rim = 8; // within a view, for the discs of the outermost surfels
constexpr int c_drawnWidth = c_viewWidth - 2 * c_gap;
constexpr int c_top = 40;    // what is above is for the names
constexpr int c_bottom = 50; // what is below is for the scale bar
constexpr int c_drawnHeight = c_height - c_top - c_bottom;
constexpr int c_longestBar = 150;

constexpr Rgb c_background{44, 48, 54};
constexpr Rgb c_ink{225, 228, 232};

struct Look
{
    const char* name;
    Vec3 right;
    Vec3 up;
};

constexpr std::array c_looks{
    Look{"top", {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}},
    Look{"front", {-1.0, 0.0, 0.0}, {0.0, 0.0, 1.0}},
    Look{"side", {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}},
};

/// Whether a picture can show it: not for what is no number or as far away as no scan.
bool IsShown(const Vec3& p)
{
    constexpr double c_farthest = 1e30;
    return std::abs(p.x) + std::abs(p.y) + std::abs(p.z) <= c_farthest;
}

Bounds BoundsOf(const Surface& surface)
{
    Bounds bounds;
    for (const auto& placed : surface) {
        VisitPoints(placed, [&](const SurfacePoint& point) {
            if (IsShown(point.position)) bounds.Extend(point.position);
        });
    }
    return bounds;
}

/// Pixels for each unit of length, so that a box of that size fits in each view.
double ScaleFor(const Vec3& size)
{
    const double widest = std::max(size.x, size.y);
    const double highest = std::max(size.y, size.z);
    constexpr double c_pointSize = 1e-9; // what is smaller is shown as a point
    if (std::max(widest, highest) < c_pointSize) return 1.0;
    return std::min((c_drawnWidth - 2 * c_rim) / std::max(widest, c_pointSize),
                    (c_drawnHeight - 2 * c_rim) / std::max(highest, c_pointSize));
}

/// The largest of 1, 2, 5, 10, 20, ... and of their decimal parts that is not above a length.
double RoundLength(double atMost)
{
    const double power = std::pow(10.0, std::floor(std::log10(atMost)));
    for (const double factor : {5.0, 2.0}) {
        if (factor * power <= atMost) return factor * power;
    }
    return power;
}

/// The number in the fewest letters, whatever the locale.
std::string ToText(double number)
{
    std::array<char, 32> letters{};
    const auto end = std::to_chars(letters.data(), letters.data() + letters.size(), number,
                                   std::chars_format::general, 6)
                         .ptr;
    return {letters.data(), end};
}

void DrawScaleBar(Picture& picture, double scale)
{
    const double length = RoundLength(c_longestBar / scale);
    const int width = static_cast<int>(std::lround(length * scale));
    constexpr int c_left = c_gap + c_rim;
    constexpr int c_y = c_height - 24;
    constexpr int c_line = 3;
    constexpr int c_tick = 13;
    picture.Fill(c_left, c_y, width, c_line, c_ink);
    for (const int x : {c_left, c_left + width - c_line}) {
        picture.Fill(x, c_y - (c_tick - c_line) / 2, c_line, c_tick, c_ink);
    }
    DrawText(picture, c_left + width + c_letterWidth, c_y - (c_letterHeight - c_line) / 2,
             ToText(length) + " mm", c_ink);
}

} // namespace

Picture DrawOverview(const Surface& surface)
{
    Picture picture(static_cast<int>(c_looks.size()) * c_viewWidth, c_height, c_background);
    const Bounds bounds = BoundsOf(surface);
    const double scale = ScaleFor(bounds.largest - bounds.least);
    const Vec3 centre = (bounds.least + bounds.largest) * 0.5;
    int left = c_gap;
    for (const Look& look : c_looks) {
        DrawText(picture, left + c_rim, c_rim, look.name, c_ink);
        const OrthographicView view(
            surface, {look.right, look.up, centre, scale, c_drawnWidth, c_drawnHeight});
        view.Draw(picture, left, c_top);
        left += c_viewWidth;
    }
    DrawScaleBar(picture, scale);
    return picture;
}

} // namespace scansession
