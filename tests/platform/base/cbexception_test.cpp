#include "platform/base/cbexception.h"

#include <gtest/gtest.h>

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

} // namespace
