#pragma once

#include <cstdint>

/// The colour of a surfel, eight bits each; middle grey from the start.
struct ZeCCompressedColor
{
    /// From 0 to 255.
    std::uint8_t r = 128;
    std::uint8_t g = 128;
    std::uint8_t b = 128;
    std::uint8_t spare = 0; ///< kept as it is

    friend bool operator==(const ZeCCompressedColor&, const ZeCCompressedColor&) = default;
};
