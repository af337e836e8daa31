#include "platform/base/cbexception.h"
#include "platform/base/cbformat.h"

#include <clocale>
#include <gtest/gtest.h>
#include <limits>
#include <locale>
#include <string>

namespace
{

CString formatV(const CbWChar* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    struct End
    {
        std::va_list& list;
        ~End() { va_end(list); }
    } end{arguments};
    return CbFormatV(format, arguments);
}

TEST(Formatting, PrintsEachArgumentAtItsOwnWidth)
{
    struct Case
    {
        const char* name;
        CString result;
        const char* expected;
    };
    const CString text(CB_TEXT("wide \u00e4"));
    const CbWChar* const null = nullptr;
    const Case cases[] = {
        {"null format", CbFormat(nullptr), ""},
        {"percent", CbFormat(CB_TEXT("100%%, %d%%"), 5), "100%, 5%"},
        {"text", CbFormat(CB_TEXT("<%s|%s>"), text, CB_TEXT("x")), "<wide \u00e4|x>"},
        {"null text", CbFormat(CB_TEXT("%s"), null), "(null)"},
        {"text is no format", CbFormat(CB_TEXT("%s"), CString(CB_TEXT("%d"))), "%d"},
        {"bool", CbFormat(CB_TEXT("%d%d"), true, false), "10"},
        {"narrow", CbFormat(CB_TEXT("%d %u %x"), std::int8_t{-1}, std::int8_t{-1}, std::int8_t{-1}),
         "-1 255 ff"},
        {"64 bits", CbFormat(CB_TEXT("%d"), std::numeric_limits<std::int64_t>::min()),
         "-9223372036854775808"},
        {"64 bits unsigned", CbFormat(CB_TEXT("%u"), std::numeric_limits<std::uint64_t>::max()),
         "18446744073709551615"},
        {"hexadecimal", CbFormat(CB_TEXT("%x:%X"), 0xFEDCBA9876543210U, 0xFEDCBA9876543210U),
         "fedcba9876543210:FEDCBA9876543210"},
        {"upper case stays with its number", CbFormat(CB_TEXT("a%Xb"), 0xAB), "aABb"},
        {"address", CbFormat(CB_TEXT("%X"), reinterpret_cast<const int*>(0x7F00ABCD1234)),
         "7F00ABCD1234"},
        {"double", CbFormat(CB_TEXT("%f"), 1.0 / 3), "0.333333"},
        {"float", CbFormat(CB_TEXT("%f"), -0.5F), "-0.500000"},
        {"rounding", CbFormat(CB_TEXT("%f"), 2.9999999), "3.000000"},
        {"no number", CbFormat(CB_TEXT("%f"), std::numeric_limits<double>::infinity()), "inf"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.result.ToUtf8(), c.expected);
    }
    EXPECT_EQ(CbFormat(CB_TEXT("%f"), std::numeric_limits<double>::max()).GetLength(), 316U);
    const CString withZero(CString::View(CB_TEXT("a\0b"), 3));
    EXPECT_EQ(CbFormat(CB_TEXT("%s"), withZero), withZero);
}

TEST(Formatting, RefusesArgumentsThatDoNotFit)
{
    EXPECT_THROW((void)CbFormat(CB_TEXT("plain"), 1), CbException);
    EXPECT_THROW((void)CbFormat(CB_TEXT("%s"), 1), CbException);
    EXPECT_THROW((void)CbFormat(CB_TEXT("%d"), CB_TEXT("text")), CbException);
    EXPECT_THROW((void)CbFormat(CB_TEXT("%f"), 1), CbException);
    EXPECT_THROW((void)CbFormat(CB_TEXT("%5d"), 1), CbException);
    EXPECT_THROW((void)CbFormat(CB_TEXT("%")), CbException);
    EXPECT_THROW((void)formatV(CB_TEXT("%i"), 1), CbException);
}

TEST(Formatting, TakesAnArgumentListOfALogBackEnd)
{
    const CString text =
        formatV(CB_TEXT("%d %u %x %X %s %f %% %d%d%d%f %s"), -1, 0xFFFFFFFFU, 0xABCDU, 0xABCDU,
                CB_TEXT("text"), 1.5, 7, 8, 9, 0.25, static_cast<const CbWChar*>(nullptr));
    EXPECT_EQ(text.ToUtf8(), "-1 4294967295 abcd ABCD text 1.500000 % 7890.250000 (null)");
}

// Writes 1234.5 as 1.234,5.
class Commas : public std::numpunct<char>
{
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(Formatting, DoesNotFollowTheLocale)
{
    const std::locale before = std::locale::global(std::locale(std::locale(), new Commas));
    (void)std::setlocale(LC_ALL, "de_DE.UTF-8"); // where the system has it
    const CString text = CbFormat(CB_TEXT("%f %d"), 1234.5, 1234567);
    (void)std::setlocale(LC_ALL, "C");
    std::locale::global(before);
    EXPECT_EQ(text.ToUtf8(), "1234.500000 1234567");
}

} // namespace
