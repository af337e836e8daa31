#include "platform/base/cbexception.h"
#include "platform/datatree/cyunittest.h"

#include <array>
#include <gmock/gmock.h>
#include <thread>

namespace
{

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;

// Four subtests: two that pass, with one that throws and one that is not known in between.
class FourSubtests : public CyUnitTest
{
protected:
    std::size_t getNumberOfSubtests() const override { return 4; }
    std::string getSubtestName(std::size_t index) const override
    {
        return std::array{"first", "throws", "unheard of", "last"}[index];
    }
    bool runUnitTest(const std::string& subtest) override
    {
        if (subtest == "throws") throw CbException("file", 7, "f", "broken by 42");
        if (subtest == "unheard of") return false;
        EXPECT_EQ(HasFailed(), subtest == "last");
        Write(eInformation, "%s of %d, \xC3\xA4", subtest.c_str(), 4);
        return true;
    }
};

auto isLine(CyUnitTest::EMessageType type, const std::string& text)
{
    return AllOf(Field(&CyUnitTest::Line::type, type),
                 Field(&CyUnitTest::Line::text, HasSubstr(text)));
}

TEST(UnitTest, RunsAllSubtestsAndFailsForWhatTheyThrow)
{
    FourSubtests test;
    test.Run();
    EXPECT_TRUE(test.HasFailed());
    EXPECT_THAT(test.GetLog(),
                ElementsAre(isLine(CyUnitTest::eInformation, "first of 4, \xC3\xA4"),
                            isLine(CyUnitTest::eError, "broken by 42"),
                            isLine(CyUnitTest::eError, "unheard of"),
                            isLine(CyUnitTest::eInformation, "last of 4, \xC3\xA4")));
}

TEST(UnitTestThreads, KeepTheirLinesWhole)
{
    FourSubtests test;
    const std::string text(300, 'x');
    const auto write = [&] {
        for (int i = 0; i < 200; ++i) test.Write(CyUnitTest::eError, "%s", text.c_str());
    };
    std::thread other(write);
    write();
    other.join();
    EXPECT_EQ(test.GetLog().size(), 400);
    for (const auto& line : test.GetLog()) EXPECT_EQ(line.text, text);
}

} // namespace
