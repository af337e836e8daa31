#include "platform/base/cbexception.h"
#include "platform/datatree/cyunittest.h"

#include <array>
#include <gmock/gmock.h>

namespace
{

using testing::ElementsAre;
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

TEST(UnitTest, RunsAllSubtestsAndFailsForWhatTheyThrow)
{
    FourSubtests test;
    test.Run();
    EXPECT_TRUE(test.HasFailed());
    std::vector<std::string> lines;
    for (const auto& line : test.GetLog()) lines.push_back(line.text);
    EXPECT_THAT(lines, ElementsAre("first of 4, \xC3\xA4", HasSubstr("broken by 42"),
                                   HasSubstr("unheard of"), "last of 4, \xC3\xA4"));
}

} // namespace
