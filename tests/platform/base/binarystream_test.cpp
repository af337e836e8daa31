#include "platform/base/cbexceptionstream.h"
#include "platform/base/cystreamreadbinarybuffer.h"
#include "platform/base/cystreamwritebinarybuffer.h"

#include <bit>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

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
    float single = 1.5F;
    double precise = -2.0;
    CString text = CString(CString::View(CB_TEXT("A\0\xD800"), 3));

    friend bool operator==(const Record&, const Record&) = default;

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

TEST(ABinaryStream, ReadsWhatWasWritten)
{
    for (const std::uint64_t bits : {0x7FF8000000000123U, 0x8000000000000000U, std::uint64_t{1}}) {
        Record written;
        written.precise = std::bit_cast<double>(bits);
        written.single = std::numeric_limits<float>::denorm_min();
        CyStreamWriteBinaryBuffer buffer;
        written.Write(buffer);
        Record read{false, 0, 0, 0, 0, 0, 0, CString()};
        CyStreamReadBinaryBuffer stream(buffer);
        read.Read(stream);
        EXPECT_EQ(stream.Remaining(), 0U);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(read.precise), bits);
        read.precise = written.precise = 0; // NaN is equal to nothing
        EXPECT_EQ(read, written);
    }
}

TEST(ABinaryStream, CutShortAnywhereFailsAndKeepsTheValueThatIsCut)
{
    CyStreamWriteBinaryBuffer buffer;
    Record().Write(buffer);
    ASSERT_EQ(buffer.GetCount(), c_recordBytes);
    const Record untouched{false, 1, 1, 1, 1, 1, 1, CString(CB_TEXT("kept"))};
    for (std::size_t length = 0; length < c_recordBytes; ++length) {
        SCOPED_TRACE(length);
        // Memory of its own, so that reading on is noticed.
        const std::vector<std::uint8_t> cut(buffer.GetData(), buffer.GetData() + length);
        CyStreamReadBinaryBuffer stream(cut);
        Record read = untouched;
        EXPECT_THROW(read.Read(stream), CbExceptionStream);

        // What came in whole is there, the rest is as it was.
        const Record whole;
        EXPECT_EQ(read.unsigned32, length >= 9 ? whole.unsigned32 : untouched.unsigned32);
        EXPECT_EQ(read.precise, length >= 37 ? whole.precise : untouched.precise);
        EXPECT_EQ(read.text, untouched.text);
        // The stream stands before the value that is cut.
        const std::size_t left = stream.Remaining();
        EXPECT_THROW(stream.Skip(left + 1), CbExceptionStream);
        std::vector<std::uint8_t> target(left + 1, 0xAA);
        EXPECT_THROW(stream.ReadBuffer(target.data(), left + 1), CbExceptionStream);
        EXPECT_EQ(target.back(), 0xAA);
        EXPECT_EQ(stream.Remaining(), left);
    }
}

TEST(ABinaryStream, DoesNotAllocateForATextThatCanNotBeThere)
{
    const std::vector<std::uint8_t> bytes = {0xFF, 0xFF, 0xFF, 0xFF, 'A', 0};
    CyStreamReadBinaryBuffer stream(bytes);
    CString text(CB_TEXT("kept"));
    EXPECT_THROW(stream >> text, CbExceptionStream);
    EXPECT_EQ(text, CString(CB_TEXT("kept")));
    EXPECT_EQ(stream.Remaining(), bytes.size());
}

} // namespace
