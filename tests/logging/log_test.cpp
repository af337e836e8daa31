#include "logging/log.h"
#include "tests/support/logrecorder.h"

#include <gmock/gmock.h>

namespace
{

using testing::ElementsAre;
using testing::FieldsAre;

constexpr const CbWChar* c_logger = CB_TEXT("Diagnostics.Test");

TEST(WithABackEnd, MessagesArriveWithLevelLoggerPlaceAndArguments)
{
    LogRecorder recorder;
    Logging::LogDebug(c_logger, "zecfile", 12, "ZeCClass::Function", CB_TEXT("%d of %u: %s %X %f"),
                      -3, 4000000000U, CB_TEXT("text"), 0xBEEFU, 0.5);
    Logging::LogWarning(CB_TEXT("Other"), "zecother", 4000000000U, "", CB_TEXT("plain"));

    EXPECT_THAT(recorder.TakeRecords(),
                ElementsAre(FieldsAre(1U, CString(c_logger), "zecfile", 12U, "ZeCClass::Function",
                                      CString(CB_TEXT("-3 of 4000000000: text BEEF 0.500000"))),
                            FieldsAre(3U, CString(CB_TEXT("Other")), "zecother", 4000000000U, "",
                                      CString(CB_TEXT("plain")))));
}

TEST(WithABackEnd, ALevelThatIsOffIsAskedForButGetsNoMessage)
{
    LogRecorder recorder;
    for (const std::uint32_t off : {1U, 3U}) {
        recorder.SetEnabled(off, false);
        EXPECT_EQ(Logging::IsDebugEnabled(c_logger), off != 1);
        EXPECT_EQ(Logging::IsWarningEnabled(c_logger), off != 3);
        EXPECT_THAT(recorder.TakeCalls(),
                    ElementsAre("enabled 1 Diagnostics.Test", "enabled 3 Diagnostics.Test"));
        Logging::LogDebug(c_logger, "file", 1, "Function", CB_TEXT("%s"), CB_TEXT("text"));
        Logging::LogWarning(c_logger, "file", 1, "Function", CB_TEXT("%s"), CB_TEXT("text"));
        const auto records = recorder.TakeRecords();
        ASSERT_EQ(records.size(), 1U);
        EXPECT_EQ(records[0].level, 4 - off);
        (void)recorder.TakeCalls();
        recorder.SetEnabled(off, true);
    }
}

TEST(WithABackEnd, ContextAndFlushAreHandedThrough)
{
    LogRecorder recorder;
    Logging::ILogDispatcher& dispatcher = Logging::GetLogDispatcher();
    dispatcher.SetGlobalDiagnosticsContext(CB_TEXT("key"), CB_TEXT("value"));
    dispatcher.Flush(-7);

    EXPECT_THAT(recorder.TakeCalls(), ElementsAre("context key=value", "flush -7"));
    EXPECT_EQ(Logging::GetGlobalLoggerName().ToUtf8(), "Global Static Logger");
}

} // namespace
