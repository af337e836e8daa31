#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbstreamwriteascii.h"

#include <gtest/gtest.h>
#include <iomanip>
#include <sstream>

namespace
{

TEST(ATextStream, WritesUtf8AndNothingElse)
{
    std::ostringstream sink;
    sink << std::setw(20) << std::setfill('*');
    CbStreamWriteASCII stream(sink);
    stream << CString(CB_TEXT("\u00c4rger\n")) << CB_TEXT("a") << "b" << CString()
           << std::string("c");
    EXPECT_EQ(sink.str(), "\xC3\x84rger\nabc");

    sink.setstate(std::ios::badbit);
    EXPECT_THROW(stream << "lost", CbExceptionStream);
}

} // namespace
