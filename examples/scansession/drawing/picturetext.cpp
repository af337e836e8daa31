#include "examples/scansession/drawing/picturetext.h"

#include <algorithm>
#include <array>

namespace scansession
{

namespace
{

/// The rows from the top, in each the five bits of a column from the left.
struct Glyph
{
    char letter;
    std::array<std::uint8_t, 7> rows;
};

constexpr std::array c_glyphs{
    Glyph{'0', {0b01110, 0b10001, 0b10011, 0b10101, 0b11001, 0b10001, 0b01110}},
    Glyph{'1', {0b00100, 0b01100, 0b00100, 0b00100, 0b00100, 0b00100, 0b01110}},
    Glyph{'2', {0b01110, 0b10001, 0b00001, 0b00010, 0b00100, 0b01000, 0b11111}},
    Glyph{'3', {0b11111, 0b00010, 0b00100, 0b00010, 0b00001, 0b10001, 0b01110}},
    Glyph{'4', {0b00010, 0b00110, 0b01010, 0b10010, 0b11111, 0b00010, 0b00010}},
    Glyph{'5', {0b11111, 0b10000, 0b11110, 0b00001, 0b00001, 0b10001, 0b01110}},
    Glyph{'6', {0b00110, 0b01000, 0b10000, 0b11110, 0b10001, 0b10001, 0b01110}},
    Glyph{'7', {0b11111, 0b00001, 0b00010, 0b00100, 0b01000, 0b01000, 0b01000}},
    Glyph{'8', {0b01110, 0b10001, 0b10001, 0b01110, 0b10001, 0b10001, 0b01110}},
    Glyph{'9', {0b01110, 0b10001, 0b10001, 0b01111, 0b00001, 0b00010, 0b01100}},
    Glyph{'+', {0b00000, 0b00100, 0b00100, 0b11111, 0b00100, 0b00100, 0b00000}},
    Glyph{'-', {0b00000, 0b00000, 0b00000, 0b11111, 0b00000, 0b00000, 0b00000}},
    Glyph{'.', {0b00000, 0b00000, 0b00000, 0b00000, 0b00000, 0b01100, 0b01100}},
    Glyph{'d', {0b00001, 0b00001, 0b01101, 0b10011, 0b10001, 0b10001, 0b01111}},
    Glyph{'e', {0b00000, 0b00000, 0b01110, 0b10001, 0b11111, 0b10000, 0b01110}},
    Glyph{'f', {0b00110, 0b01001, 0b01000, 0b11100, 0b01000, 0b01000, 0b01000}},
    Glyph{'i', {0b00100, 0b00000, 0b01100, 0b00100, 0b00100, 0b00100, 0b01110}},
    Glyph{'m', {0b00000, 0b00000, 0b11010, 0b10101, 0b10101, 0b10001, 0b10001}},
    Glyph{'n', {0b00000, 0b00000, 0b10110, 0b11001, 0b10001, 0b10001, 0b10001}},
    Glyph{'o', {0b00000, 0b00000, 0b01110, 0b10001, 0b10001, 0b10001, 0b01110}},
    Glyph{'p', {0b00000, 0b00000, 0b11110, 0b10001, 0b11110, 0b10000, 0b10000}},
    Glyph{'r', {0b00000, 0b00000, 0b10110, 0b11001, 0b10000, 0b10000, 0b10000}},
    Glyph{'s', {0b00000, 0b00000, 0b01110, 0b10000, 0b01110, 0b00001, 0b11110}},
    Glyph{'t', {0b01000, 0b01000, 0b11100, 0b01000, 0b01000, 0b01001, 0b00110}},
};

constexpr int c_columns = 5;
constexpr int c_dot = 2; // pixels for each dot of a glyph, both ways

} // namespace

void DrawText(Picture& picture, int left, int top, std::string_view text, Rgb colour)
{
    for (const char letter : text) {
        const auto glyph = std::find_if(c_glyphs.begin(), c_glyphs.end(),
                                        [&](const Glyph& g) { return g.letter == letter; });
        for (int row = 0; glyph != c_glyphs.end() && row < c_letterHeight / c_dot; ++row) {
            const unsigned bits = glyph->rows[static_cast<std::size_t>(row)];
            for (int column = 0; column < c_columns; ++column) {
                if ((bits >> (c_columns - 1 - column) & 1U) == 0) continue;
                picture.Fill(left + column * c_dot, top + row * c_dot, c_dot, c_dot, colour);
            }
        }
        left += c_letterWidth;
    }
}

} // namespace scansession
