#pragma once

#include "logging/ilogdispatcher.h"

namespace Logging
{

/// Discards everything, and says so beforehand: nobody prepares a message for it.
class CVoidLogger final : public ILogDispatcher
{
public:
    ~CVoidLogger() override;

    void Log(std::uint32_t level, const CbWChar* loggerName, const CallSite* callSite,
             const CbWChar* format, std::va_list arguments) override;
    /// Always false.
    [[nodiscard]] bool IsEnabled(std::uint32_t level, const CbWChar* loggerName) override;
    void SetGlobalDiagnosticsContext(const CbWChar* key, const CbWChar* value) override;
    void Flush(std::int32_t argument) override;
};

} // namespace Logging
