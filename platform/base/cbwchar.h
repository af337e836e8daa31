#pragma once

/// @file
/// The 16-bit character of wide strings: wchar_t on Windows, char16_t elsewhere.

#if defined(_WIN32)
/// A unit of UTF-16.
using CbWChar = wchar_t;
/// A wide string literal of CbWChar units.
#define CB_TEXT(literal) L##literal
#else
/// A unit of UTF-16.
using CbWChar = char16_t;
/// A wide string literal of CbWChar units.
#define CB_TEXT(literal) u##literal
#endif
