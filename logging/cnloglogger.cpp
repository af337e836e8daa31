#include "logging/cnloglogger.h"

namespace Logging
{

CNLogLogger::~CNLogLogger() = default;

void CNLogLogger::Log(std::uint32_t level, const CbWChar* loggerName, const CallSite* callSite,
                      const CbWChar* format, std::va_list arguments)
{
    entryPoints_.log(level, loggerName, callSite, format, arguments);
}

bool CNLogLogger::IsEnabled(std::uint32_t level, const CbWChar* loggerName)
{
    return entryPoints_.isLogEnabled(level, loggerName);
}

void CNLogLogger::SetGlobalDiagnosticsContext(const CbWChar* key, const CbWChar* value)
{
    entryPoints_.setGlobalDiagnosticsContext(key, value);
}

void CNLogLogger::Flush(std::int32_t argument) { entryPoints_.flush(argument); }

} // namespace Logging
