#pragma once

#include "platform/base/cstring.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// A message as the log back end got it, formatted.
struct LogRecord
{
    std::uint32_t level;
    CString logger;
    std::string file;
    std::uint32_t line;
    std::string function;
    CString text;
};

/// Records what the library logs. A test program gets it by linking to `nlog_recorder`, which
/// stands in for the log back end under its name; the library then finds it when it is loaded.
///
/// Records from construction to destruction, all levels unless told otherwise; one at a time.
///
/// Threads: any thread may log.
class LogRecorder
{
public:
    LogRecorder();
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;
    ~LogRecorder();

    /// Switches a level off, or on again.
    void SetEnabled(std::uint32_t level, bool enabled);

    /// Has each message shown to a function, on the thread that logs it, once it is recorded.
    void SetObserver(std::function<void(const LogRecord&)> observer);

    /// Returns the messages so far, in order, and forgets them.
    [[nodiscard]] std::vector<LogRecord> TakeRecords();
    /// Returns the other calls so far, in order, and forgets them: "enabled 1 logger",
    /// "context key=value" and "flush 1".
    [[nodiscard]] std::vector<std::string> TakeCalls();
};
