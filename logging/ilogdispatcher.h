#pragma once

#include "logging/callsite.h"
#include "platform/base/cbwchar.h"

#include <cstdarg>
#include <cstdint>

namespace Logging
{

/// The one way out for all messages of the library. The order of the functions is fixed.
class ILogDispatcher
{
public:
    ILogDispatcher() = default;
    ILogDispatcher(const ILogDispatcher&) = delete;
    ILogDispatcher& operator=(const ILogDispatcher&) = delete;
    virtual ~ILogDispatcher() = default;

    /// Hands a message to the back end, which formats and filters it.
    /// @param level number of the level: 1 is debug detail, 3 is a warning
    /// @param callSite read during the call only
    /// @param format printf-style; its strings are zero-terminated units
    /// @param arguments used up
    virtual void Log(std::uint32_t level, const CbWChar* loggerName, const CallSite* callSite,
                     const CbWChar* format, std::va_list arguments) = 0;
    /// True if a message of that level to that logger would be kept.
    [[nodiscard]] virtual bool IsEnabled(std::uint32_t level, const CbWChar* loggerName) = 0;
    /// Sets a value that the back end may add to all messages.
    virtual void SetGlobalDiagnosticsContext(const CbWChar* key, const CbWChar* value) = 0;
    /// Has the back end write what it still holds. @p argument is the back end's.
    virtual void Flush(std::int32_t argument) = 0;
};

} // namespace Logging
