#pragma once

#include "logging/ilogdispatcher.h"
#include "platform/base/cstring.h"

#include <cstdint>

/// @file
/// How the library logs. For its own sources only; nothing of it is exported.
///
/// A message goes to a named logger with a wide printf-style format, which the back end fills in.
/// The back end is NLogC.dll if that can be loaded with all it should offer; otherwise messages
/// go nowhere. That is settled once, while the library is loaded.
///
/// A message that needs more than the values at hand is put together behind a question:
/// @code
/// if (Logging::IsWarningEnabled(c_logger)) {
///     const CString stack = CyStackWalker::GetCallStack();
///     Logging::LogWarning(c_logger, "zectransformationnode", 403, "ZeCTransformationNode::Move",
///                         CB_TEXT("moved twice\n%s"), stack.GetString());
/// }
/// @endcode
///
/// Threads: any thread, as the back end allows.
namespace Logging
{

/// The dispatcher of the process; chosen by the first call.
[[nodiscard]] ILogDispatcher& GetLogDispatcher();

/// Name of the logger for whatever has no logger of its own.
[[nodiscard]] const CString& GetGlobalLoggerName() noexcept;

/// True if debug detail (level 1) for a logger would be kept.
[[nodiscard]] bool IsDebugEnabled(const CbWChar* loggerName);
/// Logs debug detail (level 1); does nothing if it is not enabled.
/// @param format takes integers of 32 bits, doubles and zero-terminated units
void LogDebug(const CbWChar* loggerName, const char* file, std::uint32_t line, const char* function,
              const CbWChar* format, ...);

/// True if a warning (level 3) for a logger would be kept.
[[nodiscard]] bool IsWarningEnabled(const CbWChar* loggerName);
/// Logs a warning (level 3); does nothing if it is not enabled.
/// @param format takes integers of 32 bits, doubles and zero-terminated units
void LogWarning(const CbWChar* loggerName, const char* file, std::uint32_t line,
                const char* function, const CbWChar* format, ...);

} // namespace Logging
