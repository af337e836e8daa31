#include "platform/base/cystackwalker.h"

#include <gtest/gtest.h>
#include <sstream>
#include <vector>

namespace
{

std::vector<std::string> linesOf(const CString& text)
{
    std::istringstream stream(text.ToUtf8());
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

TEST(ACallStack, HasOneLinePerCallBetweenTheLimits)
{
    std::vector<std::vector<std::string>> stacks;
    for (const std::size_t skip : {0, 2}) { // from one place, so the lines can be compared
        stacks.push_back(linesOf(CyStackWalker::GetCallStack(100, skip)));
    }
    const auto& all = stacks[0];
    if (all.empty()) GTEST_SKIP() << "this system tells no call stacks";
    ASSERT_GT(all.size(), 3U);
    EXPECT_EQ(stacks[1], std::vector(all.begin() + 2, all.end()));
    EXPECT_EQ(all.front().find("CyStackWalker"), std::string::npos) << all.front();

    EXPECT_EQ(linesOf(CyStackWalker::GetCallStack(2)).size(), 2U);
    EXPECT_TRUE(CyStackWalker::GetCallStack(0).IsEmpty());
    EXPECT_TRUE(CyStackWalker::GetCallStack(100, 1000).IsEmpty());
    EXPECT_FALSE(CyStackWalker::GetCallStack(100000).IsEmpty());
}

} // namespace
