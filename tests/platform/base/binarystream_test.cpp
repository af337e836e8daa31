#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "tests/support/storedbytes.h"

#include <bit>
#include <cmath>
#include <limits>

namespace
{

// One value of each type.
struct Record
{
    bool flag = true;
    std::int32_t signed32 = -2;
    std::uint32_t unsigned32 = 0x04030201;
    std::int64_t signed64 = -2;
    std::uint64_t unsigned64 = 0x0807060504030201;
    float single = std::numeric_limits<float>::denorm_min();
    double precise = std::bit_cast<double>(0x7FF8000000000123U); // not any NaN
    CString text = CString(CString::View(CB_TEXT("A\0\xD800"), 3));

    void Write(CbStreamWriteBinary& stream) const
    {
        stream << flag << signed32 << unsigned32 << signed64 << unsigned64 << single << precise
               << text;
    }
    void Read(CbStreamReadBinary& stream)
    {
        stream >> flag >> signed32 >> unsigned32 >> signed64 >> unsigned64 >> single >> precise >>
            text;
    }
};

constexpr std::size_t c_recordBytes = 1 + 4 + 4 + 8 + 8 + 4 + 8 + 4 + 3 * 2;

TEST(ABinaryStream, ReadsWhatWasWrittenAndKeepsTheValueThatIsCut)
{
    const Bytes bytes = Stored([](auto& stream) { Record().Write(stream); });
    ASSERT_EQ(bytes.size(), c_recordBytes);
    const Record untouched{false, 1, 1, 1, 1, 1, 1, CString(CB_TEXT("kept"))};
    Record copy = untouched;
    EXPECT_EQ(ReadFrom(bytes, [&](auto& stream) { copy.Read(stream); }), 0U);
    EXPECT_EQ(copy.text, Record().text);
    EXPECT_EQ(Stored([&](auto& stream) { copy.Write(stream); }), bytes);
    for (std::size_t length = 0; length < c_recordBytes; ++length) {
        SCOPED_TRACE(length);
        // Memory of its own, so that reading on is noticed.
        const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        CyStreamReadBinaryBuffer stream(cut);
        Record read = untouched;
        EXPECT_THROW(read.Read(stream), CbExceptionStream);

        // What came in whole is there, the rest is as it was.
        const Record whole;
        EXPECT_EQ(read.unsigned32, length >= 9 ? whole.unsigned32 : untouched.unsigned32);
        EXPECT_EQ(std::isnan(read.precise), length >= 37);
        EXPECT_EQ(read.text, untouched.text);
        // The stream stands before the value that is cut.
        const std::size_t left = stream.Remaining();
        EXPECT_THROW(stream.Skip(left + 1), CbExceptionStream);
        Bytes target(left + 1, 0xAA);
        EXPECT_THROW(stream.ReadBuffer(target.data(), left + 1), CbExceptionStream);
        EXPECT_EQ(target.back(), 0xAA);
        EXPECT_EQ(stream.Remaining(), left);
    }
}

TEST(ABinaryStream, RefusesVersionsThatAreNotKnown)
{
    for (const std::uint32_t stored : {0U, 1U, 2U, 3U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(stored);
        const Bytes bytes = Stored([&](auto& stream) { stream.WriteVersion(stored); });
        const auto expectRead = [&](bool known, const auto& read) {
            CyStreamReadBinaryBuffer stream(bytes);
            if (known) {
                EXPECT_EQ(read(stream), stored);
            } else {
                ExpectThrowsFrom<CbExceptionWrongFileVersion>("site", 7, [&] { read(stream); });
            }
        };
        expectRead(true, [](auto& stream) { return stream.ReadAndCompareVersion(2); });
        expectRead(stored <= 2,
                   [](auto& stream) { return stream.ReadAndCompareVersion(2, "site", 7); });
        expectRead(stored == 1 || stored == 2,
                   [](auto& stream) { return stream.ReadKnownVersion(1, 2, "site", 7); });
    }
}

TEST(ABinaryStream, DoesNotAllocateForATextThatCanNotBeThere)
{
    const Bytes bytes = {0xFF, 0xFF, 0xFF, 0xFF, 'A', 0};
    CyStreamReadBinaryBuffer stream(bytes);
    CString text(CB_TEXT("kept"));
    EXPECT_THROW(stream >> text, CbExceptionStream);
    EXPECT_EQ(text, CString(CB_TEXT("kept")));
    EXPECT_EQ(stream.Remaining(), bytes.size());
}

} // namespace
