#include "platform/base/cbexception.h"
#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionunknownextension.h"
#include "platform/base/cbexceptionwrongfileversion.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

TEST(AnException, TellsClassDetailAndPlace)
{
    const CbException plain("zecfile", 12);
    EXPECT_STREQ(plain.what(), "CbException (zecfile:12)");

    const CbException full("/some/folder/zecfile.cpp", 403, "ZeCClass::Function", "index 7 of 3");
    EXPECT_STREQ(full.what(), "CbException: index 7 of 3 (zecfile:403, ZeCClass::Function)");
    EXPECT_EQ(full.GetFile(), "zecfile");
    EXPECT_EQ(CbException("C:\\folder.old\\zecfile.cpp", 1).GetFile(), "zecfile");
}

template<class Exception>
std::string whatOfBase()
{
    try {
        throw Exception("file", 1);
    } catch (const CbException& exception) {
        return exception.what();
    }
}

TEST(AnException, OfAnyKindIsCaughtAsItsBase)
{
    EXPECT_EQ(whatOfBase<CbExceptionStream>(), "CbExceptionStream (file:1)");
    EXPECT_EQ(whatOfBase<CbExceptionWrongFileVersion>(), "CbExceptionWrongFileVersion (file:1)");
    EXPECT_EQ(whatOfBase<CbExceptionUnknownExtension>(), "CbExceptionUnknownExtension (file:1)");
}

} // namespace
