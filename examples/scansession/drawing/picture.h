#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace scansession
{

/// Red, green and blue.
using Rgb = std::array<std::uint8_t, 3>;

/// A picture of one byte for each colour of a pixel.
class Picture
{
public:
    Picture(int width, int height, Rgb background)
        : width_(width),
          height_(height),
          pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), background)
    {}

    [[nodiscard]] int Width() const { return width_; }
    [[nodiscard]] int Height() const { return height_; }
    /// The rows from the top, each from the left.
    [[nodiscard]] const std::vector<Rgb>& Pixels() const { return pixels_; }

    /// Pixels outside are passed over.
    void Set(int x, int y, Rgb colour)
    {
        if (x < 0 || x >= width_ || y < 0 || y >= height_) return;
        pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                static_cast<std::size_t>(x)] = colour;
    }
    /// Fills a rectangle whose upper left pixel is given.
    void Fill(int left, int top, int width, int height, Rgb colour)
    {
        for (int y = top; y < top + height; ++y) {
            for (int x = left; x < left + width; ++x) Set(x, y, colour);
        }
    }

private:
    int width_;
    int height_;
    std::vector<Rgb> pixels_;
};

} // namespace scansession
