#include "platform/base/cstring.h"

#include <gtest/gtest.h>
#include <vector>

namespace
{

CString units(std::vector<CbWChar> text)
{
    return CString(CString::View(text.data(), text.size()));
}

TEST(AString, ConvertsBetweenUtf8AndUtf16)
{
    struct Case
    {
        const char* name;
        std::string utf8;
        CString wide;
    };
    const Case cases[] = {
        {"empty", "", CString()},
        {"one byte", "A\x7F", units({0x41, 0x7F})},
        {"two bytes", "\xC2\x80\xDF\xBF", units({0x80, 0x7FF})},
        {"three bytes", "\xE0\xA0\x80\xEF\xBF\xBF", units({0x800, 0xFFFF})},
        {"around the surrogates", "\xED\x9F\xBF\xEE\x80\x80", units({0xD7FF, 0xE000})},
        {"four bytes", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", units({0xD800, 0xDC00, 0xDBFF, 0xDFFF})},
        {"zero inside", std::string("a\0b", 3), units({0x61, 0, 0x62})},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(CString::FromUtf8(c.utf8), c.wide);
        EXPECT_EQ(c.wide.ToUtf8(), c.utf8);
    }
}

TEST(AString, ReplacesWhatHasNoOtherForm)
{
    const auto replaced = [](const char* text) { return CString::FromUtf8(text).ToUtf8(); };
    const std::string mark = "\xEF\xBF\xBD";
    EXPECT_EQ(replaced("a\x80z"), "a" + mark + "z");
    EXPECT_EQ(replaced("\xC0\x80"), mark + mark) << "overlong";
    EXPECT_EQ(replaced("\xE0\x80\x80"), mark + mark + mark) << "overlong";
    EXPECT_EQ(replaced("\xED\xA0\x80"), mark + mark + mark) << "surrogate";
    EXPECT_EQ(replaced("\xF4\x90\x80\x80"), mark + mark + mark + mark) << "beyond the last";
    EXPECT_EQ(replaced("\xE2\x82x"), mark + "x") << "cut short";
    EXPECT_EQ(replaced("\xF0\x9F\x98"), mark) << "cut short";

    const CString high = units({0x61, 0xD800});
    const CString low = units({0xDC00, 0x7A});
    EXPECT_EQ(high.ToUtf8(), "a" + mark);
    EXPECT_EQ(low.ToUtf8(), mark + "z");
    EXPECT_EQ((high + low).ToUtf8(), "a\xF0\x90\x80\x80z");
}

} // namespace
