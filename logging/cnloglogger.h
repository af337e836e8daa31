#pragma once

#include "logging/ilogdispatcher.h"

namespace Logging
{

/// Hands everything to the NLog C interface as it comes.
///
/// Threads: as the entry points allow.
class CNLogLogger final : public ILogDispatcher
{
public:
    /// The entry points of the library.
    struct EntryPoints
    {
        /// NLog_CSLogVW
        void (*log)(std::uint32_t level, const CbWChar* loggerName, const CallSite* callSite,
                    const CbWChar* format, std::va_list arguments);
        /// NLog_IsLogEnabledW
        bool (*isLogEnabled)(std::uint32_t level, const CbWChar* loggerName);
        /// NLog_SetGlobalDiagnosticsContextW
        void (*setGlobalDiagnosticsContext)(const CbWChar* key, const CbWChar* value);
        /// NLog_Flush
        void (*flush)(std::int32_t argument);
    };

    /// @param entryPoints all of them present
    explicit CNLogLogger(const EntryPoints& entryPoints) noexcept : entryPoints_(entryPoints) {}
    ~CNLogLogger() override;

    void Log(std::uint32_t level, const CbWChar* loggerName, const CallSite* callSite,
             const CbWChar* format, std::va_list arguments) override;
    [[nodiscard]] bool IsEnabled(std::uint32_t level, const CbWChar* loggerName) override;
    void SetGlobalDiagnosticsContext(const CbWChar* key, const CbWChar* value) override;
    void Flush(std::int32_t argument) override;

private:
    EntryPoints entryPoints_;
};

} // namespace Logging
