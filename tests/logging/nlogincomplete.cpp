// A log back end that lacks one entry point, so that none of the others may ever be called.

#include "logging/callsite.h"
#include "platform/base/cbwchar.h"

#include <cstdarg>
#include <cstdlib>

extern "C" {

#ifndef WITHOUT_NLog_CSLogVW
void NLog_CSLogVW(std::uint32_t, const CbWChar*, const Logging::CallSite*, const CbWChar*,
                  std::va_list)
{
    std::abort();
}
#endif

#ifndef WITHOUT_NLog_IsLogEnabledW
bool NLog_IsLogEnabledW(std::uint32_t, const CbWChar*) { std::abort(); }
#endif

#ifndef WITHOUT_NLog_SetGlobalDiagnosticsContextW
void NLog_SetGlobalDiagnosticsContextW(const CbWChar*, const CbWChar*) { std::abort(); }
#endif

#ifndef WITHOUT_NLog_Flush
void NLog_Flush(std::int32_t) { std::abort(); }
#endif

} // extern "C"
