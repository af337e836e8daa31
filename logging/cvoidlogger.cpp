#include "logging/cvoidlogger.h"

namespace Logging
{

CVoidLogger::~CVoidLogger() = default;

void CVoidLogger::Log(std::uint32_t /*level*/, const CbWChar* /*loggerName*/,
                      const CallSite* /*callSite*/, const CbWChar* /*format*/,
                      std::va_list /*arguments*/)
{}

bool CVoidLogger::IsEnabled(std::uint32_t /*level*/, const CbWChar* /*loggerName*/)
{
    return false;
}

void CVoidLogger::SetGlobalDiagnosticsContext(const CbWChar* /*key*/, const CbWChar* /*value*/) {}

void CVoidLogger::Flush(std::int32_t /*argument*/) {}

} // namespace Logging
