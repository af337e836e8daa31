#include "platform/base/cbcheckreturn.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace
{

struct Counting
{
    static inline int unchecked = 0;
    static void OnUnchecked() noexcept { ++unchecked; }
};

using Result = CbCheckReturn<bool, Counting>;

template<class Use>
int uncheckedIn(Use use)
{
    Counting::unchecked = 0;
    use();
    return Counting::unchecked;
}

TEST(ACheckedResult, ReportsThatNobodyLooked)
{
    EXPECT_EQ(uncheckedIn([] { (void)Result(true); }), 1);
    EXPECT_EQ(uncheckedIn([] { EXPECT_TRUE(Result(true)); }), 0);
    EXPECT_EQ(uncheckedIn([] { EXPECT_FALSE(Result(false)); }), 0);
    EXPECT_EQ(uncheckedIn([] { Result(true).Acknowledge(); }), 0);
}

TEST(ACheckedResult, HandsItsDutyOnWhenMoved)
{
    EXPECT_EQ(uncheckedIn([] {
                  Result first(true);
                  const Result second(std::move(first));
              }),
              1);
    EXPECT_EQ(uncheckedIn([] {
                  Result first(true);
                  const Result second(std::move(first));
                  EXPECT_TRUE(second);
              }),
              0);
}

TEST(ACheckedResult, IsExcusedWhileAnExceptionUnwinds)
{
    EXPECT_EQ(uncheckedIn([] {
                  try {
                      const Result result(true);
                      throw std::runtime_error("unwinding");
                  } catch (const std::runtime_error&) {
                  }
              }),
              0);
    // One made and dropped by a destructor meanwhile is not.
    struct Careless
    {
        ~Careless() { (void)Result(true); }
    };
    EXPECT_EQ(uncheckedIn([] {
                  try {
                      const Careless careless;
                      throw std::runtime_error("unwinding");
                  } catch (const std::runtime_error&) {
                  }
              }),
              1);
}

} // namespace
