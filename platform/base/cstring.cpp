#include "platform/base/cstring.h"

#include "platform/base/cbimmortal.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace
{

constexpr char32_t c_replacement = 0xFFFD;

constexpr bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

void appendUtf8(std::string& out, char32_t code)
{
    const auto tail = [&](int shift) {
        out.push_back(static_cast<char>(0x80 | (code >> shift & 0x3F)));
    };
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out.push_back(static_cast<char>(0xC0 | code >> 6));
        tail(0);
    } else if (code < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | code >> 12));
        tail(6);
        tail(0);
    } else {
        out.push_back(static_cast<char>(0xF0 | code >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

// Takes one code point off the front of non-empty text. A malformed sequence gives the replacement
// character and takes the bytes that could have begun a well-formed one.
char32_t takeUtf8(std::string_view& text)
{
    const auto first = static_cast<std::uint8_t>(text.front());
    text.remove_prefix(1);
    if (first < 0x80) return first;

    int following = 0;
    std::uint8_t lowest = 0x80;
    std::uint8_t highest = 0xBF;
    char32_t code = 0;
    if (first >= 0xC2 && first < 0xE0) {
        following = 1;
        code = first & 0x1F;
    } else if (first >= 0xE0 && first < 0xF0) {
        following = 2;
        code = first & 0x0F;
        if (first == 0xE0) lowest = 0xA0;  // no overlong forms
        if (first == 0xED) highest = 0x9F; // no surrogates
    } else if (first >= 0xF0 && first < 0xF5) {
        following = 3;
        code = first & 0x07;
        if (first == 0xF0) lowest = 0x90;
        if (first == 0xF4) highest = 0x8F; // nothing beyond U+10FFFF
    } else {
        return c_replacement;
    }
    for (; following > 0; --following) {
        if (text.empty()) return c_replacement;
        const auto next = static_cast<std::uint8_t>(text.front());
        if (next < lowest || next > highest) return c_replacement;
        text.remove_prefix(1);
        code = code << 6 | (next & 0x3F);
        lowest = 0x80;
        highest = 0xBF;
    }
    return code;
}

} // namespace

CString::CString(View text)
{
    if (!text.empty()) text_ = std::make_unique<Text>(text);
}

CString::CString(const CbWChar* text) : CString(text != nullptr ? View(text) : View()) {}

CString CString::FromUnits(const void* units, std::size_t count)
{
    CString result;
    if (count == 0) return result;
    result.text_ = std::make_unique<Text>(count, CbWChar{});
    std::memcpy(result.text_->data(), units, count * sizeof(CbWChar));
    return result;
}

CString CString::take(Text&& text)
{
    CString result;
    if (!text.empty()) result.text_ = std::make_unique<Text>(std::move(text));
    return result;
}

const CString::Text& CString::text() const noexcept
{
    if (text_) return *text_;
    // Never destroyed: singletons read strings while they die.
    static const CbImmortal<const Text> empty;
    return *empty;
}

CString& CString::operator+=(const CString& other)
{
    if (!text_) return *this = other;
    *text_ += other.text();
    return *this;
}

CString CString::FromUtf8(std::string_view text)
{
    Text units;
    units.reserve(text.size());
    while (!text.empty()) {
        const char32_t code = takeUtf8(text);
        if (code < 0x10000) {
            units.push_back(static_cast<CbWChar>(code));
        } else {
            units.push_back(static_cast<CbWChar>(0xD800 + ((code - 0x10000) >> 10)));
            units.push_back(static_cast<CbWChar>(0xDC00 + (code & 0x3FF)));
        }
    }
    return take(std::move(units));
}

std::string CString::ToUtf8() const
{
    const Text& units = text();
    std::string result;
    result.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char32_t unit = units[i];
        if (isHighSurrogate(unit) && i + 1 < units.size() && isLowSurrogate(units[i + 1])) {
            ++i;
            appendUtf8(result, 0x10000 + ((unit - 0xD800) << 10) + (units[i] - char32_t{0xDC00}));
        } else {
            const bool lone = isHighSurrogate(unit) || isLowSurrogate(unit);
            appendUtf8(result, lone ? c_replacement : unit);
        }
    }
    return result;
}
