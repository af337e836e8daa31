#include "logging/log.h"
#include "tests/support/logrecorder.h"

#include <gmock/gmock.h>

namespace
{

using testing::ElementsAre;
using testing::Pair;

constexpr const CbWChar* c_logger = CB_TEXT("Diagnostics.Test");

TEST(WithABackEnd, MessagesArriveWithLevelLoggerPlaceAndArguments)
{
    LogRecorder recorder;
    Logging::LogDebug(c_logger, "zecfile", 12, "ZeCClass::Function", CB_TEXT("%d of %u: %s %X %f"),
                      -3, 4000000000U, CB_TEXT("text"), 0xBEEFU, 0.5);
    Logging::LogWarning(CB_TEXT("Other"), "zecother", 4000000000U, "", CB_TEXT("plain"));

    const auto records = recorder.TakeRecords();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].level, 1U);
    EXPECT_EQ(records[0].logger, CString(c_logger));
    EXPECT_EQ(records[0].file, "zecfile");
    EXPECT_EQ(records[0].line, 12U);
    EXPECT_EQ(records[0].function, "ZeCClass::Function");
    EXPECT_EQ(records[0].text.ToUtf8(), "-3 of 4000000000: text BEEF 0.500000");
    EXPECT_EQ(records[1].level, 3U);
    EXPECT_EQ(records[1].logger, CString(CB_TEXT("Other")));
    EXPECT_EQ(records[1].line, 4000000000U);
    EXPECT_EQ(records[1].text.ToUtf8(), "plain");
}

TEST(WithABackEnd, ALevelThatIsOffIsAskedForButGetsNoMessage)
{
    LogRecorder recorder;
    for (const std::uint32_t off : {1U, 3U}) {
        recorder.SetEnabled(off, false);
        EXPECT_EQ(Logging::IsDebugEnabled(c_logger), off != 1);
        EXPECT_EQ(Logging::IsWarningEnabled(c_logger), off != 3);
        EXPECT_THAT(recorder.TakeQueries(),
                    ElementsAre(Pair(1U, CString(c_logger)), Pair(3U, CString(c_logger))));
        Logging::LogDebug(c_logger, "file", 1, "Function", CB_TEXT("%s"), CB_TEXT("text"));
        Logging::LogWarning(c_logger, "file", 1, "Function", CB_TEXT("%s"), CB_TEXT("text"));
        const auto records = recorder.TakeRecords();
        ASSERT_EQ(records.size(), 1U);
        EXPECT_EQ(records[0].level, 4 - off);
        (void)recorder.TakeQueries();
        recorder.SetEnabled(off, true);
    }
}

TEST(WithABackEnd, ContextAndFlushAreHandedThrough)
{
    LogRecorder recorder;
    Logging::ILogDispatcher& dispatcher = Logging::GetLogDispatcher();
    dispatcher.SetGlobalDiagnosticsContext(CB_TEXT("key"), CB_TEXT("value"));
    dispatcher.Flush(-7);

    EXPECT_THAT(recorder.TakeContexts(),
                ElementsAre(Pair(CString(CB_TEXT("key")), CString(CB_TEXT("value")))));
    EXPECT_THAT(recorder.TakeFlushes(), ElementsAre(-7));
    EXPECT_EQ(Logging::GetGlobalLoggerName().ToUtf8(), "Global Static Logger");
}

} // namespace
