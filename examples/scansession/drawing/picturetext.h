#pragma once

#include "examples/scansession/drawing/picture.h"

#include <string_view>

namespace scansession
{

/// How wide and how high letters are, with the space between them.
constexpr int c_letterWidth = 12;
constexpr int c_letterHeight = 14;

/// Writes a line of text with its upper left corner at a place. Letters: digits, those of numbers
/// ("+-.e"), of lengths ("m") and of the names of the views; others are left blank.
void DrawText(Picture& picture, int left, int top, std::string_view text, Rgb colour);

} // namespace scansession
