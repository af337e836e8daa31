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
    const auto moveAndDrop = [] {
        Result first(true);
        const Result second(std::move(first));
    };
    EXPECT_EQ(uncheckedIn(moveAndDrop), 1) << "of two, the moved-from one is excused";
}

struct Careless
{
    explicit Careless(bool) {}
    ~Careless() { (void)Result(true); }
};

template<class T>
void dropWhileUnwinding()
{
    try {
        const T dropped{true};
        throw std::runtime_error("unwinding");
    } catch (const std::runtime_error&) {
    }
}

TEST(ACheckedResult, IsExcusedWhereAnExceptionUnwindsIt)
{
    EXPECT_EQ(uncheckedIn(dropWhileUnwinding<Result>), 0);
    EXPECT_EQ(uncheckedIn(dropWhileUnwinding<Careless>), 1) << "made during the unwinding";
}

} // namespace
