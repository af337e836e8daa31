#include "logging/log.h"
#include "platform/base/cblibraryloader.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

namespace
{

constexpr const CbWChar* c_logger = CB_TEXT("Diagnostics.Test");

TEST(WithoutACompleteBackEnd, LoggingIsSilent)
{
    const auto library = CbLibraryLoader::Load(CB_TEXT("NLogC.dll"));
    // Which entry point the back end on the library path lacks; none where there is no back end.
    const char* const set = std::getenv("TREE_NLOG_WITHOUT");
    const std::string missing = set != nullptr ? set : "";
    ASSERT_EQ(library == nullptr, missing.empty());
    for (const std::string name : {"NLog_CSLogVW", "NLog_IsLogEnabledW",
                                   "NLog_SetGlobalDiagnosticsContextW", "NLog_Flush"}) {
        SCOPED_TRACE(name);
        const bool present = library != nullptr && name != missing;
        ASSERT_EQ(CbLibraryLoader::Find(library, name.c_str()) != nullptr, present);
    }

    // The entry points that are there end the program when they are called.
    EXPECT_FALSE(Logging::IsDebugEnabled(c_logger));
    EXPECT_FALSE(Logging::IsWarningEnabled(c_logger));
    Logging::LogDebug(c_logger, "file", 1, "Function", CB_TEXT("%s"), CB_TEXT("text"));
    Logging::LogWarning(c_logger, "file", 1, "Function", CB_TEXT("%s"), CB_TEXT("text"));
    Logging::GetLogDispatcher().SetGlobalDiagnosticsContext(CB_TEXT("key"), CB_TEXT("value"));
    Logging::GetLogDispatcher().Flush(1);
}

} // namespace
