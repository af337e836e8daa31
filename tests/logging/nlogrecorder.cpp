#include "logging/callsite.h"
#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbformat.h"
#include "tests/support/logrecorder.h"

#include <map>
#include <utility>

namespace
{

struct Recorded
{
    CbCriticalSection section;
    bool recording CB_GUARDED_BY(section) = false;
    std::map<std::uint32_t, bool> disabled CB_GUARDED_BY(section);
    std::function<void(const LogRecord&)> observer CB_GUARDED_BY(section);
    std::vector<LogRecord> records CB_GUARDED_BY(section);
    std::vector<std::string> calls CB_GUARDED_BY(section);
};

// Never destroyed: the library may log until it is unloaded.
Recorded& recorded()
{
    static Recorded& instance = *new Recorded;
    return instance;
}

void restart(bool record)
{
    Recorded& all = recorded();
    const CbCriticalSectionLock lock(all.section);
    all.recording = record;
    all.disabled.clear();
    all.observer = nullptr;
    all.records.clear();
    all.calls.clear();
}

template<class List>
List take(List Recorded::*list)
{
    Recorded& all = recorded();
    const CbCriticalSectionLock lock(all.section);
    return std::exchange(all.*list, {});
}

} // namespace

LogRecorder::LogRecorder() { restart(true); }

LogRecorder::~LogRecorder() { restart(false); }

void LogRecorder::SetEnabled(std::uint32_t level, bool enabled)
{
    Recorded& all = recorded();
    const CbCriticalSectionLock lock(all.section);
    all.disabled[level] = !enabled;
}

void LogRecorder::SetObserver(std::function<void(const LogRecord&)> observer)
{
    Recorded& all = recorded();
    const CbCriticalSectionLock lock(all.section);
    all.observer = std::move(observer);
}

std::vector<LogRecord> LogRecorder::TakeRecords() { return take(&Recorded::records); }

std::vector<std::string> LogRecorder::TakeCalls() { return take(&Recorded::calls); }

extern "C" {

void NLog_CSLogVW(std::uint32_t level, const CbWChar* loggerName, const Logging::CallSite* callSite,
                  const CbWChar* format, std::va_list arguments)
{
    const LogRecord record{level,          CString(loggerName), callSite->file,
                           callSite->line, callSite->function,  CbFormatV(format, arguments)};
    std::function<void(const LogRecord&)> observer;
    Recorded& all = recorded();
    {
        const CbCriticalSectionLock lock(all.section);
        if (!all.recording) return;
        all.records.push_back(record);
        observer = all.observer;
    }
    if (observer) observer(record);
}

bool NLog_IsLogEnabledW(std::uint32_t level, const CbWChar* loggerName)
{
    Recorded& all = recorded();
    const CbCriticalSectionLock lock(all.section);
    if (!all.recording) return false;
    all.calls.push_back(CbFormat(CB_TEXT("enabled %u %s"), level, loggerName).ToUtf8());
    return !all.disabled[level];
}

void NLog_SetGlobalDiagnosticsContextW(const CbWChar* key, const CbWChar* value)
{
    Recorded& all = recorded();
    const CbCriticalSectionLock lock(all.section);
    if (all.recording) all.calls.push_back(CbFormat(CB_TEXT("context %s=%s"), key, value).ToUtf8());
}

void NLog_Flush(std::int32_t argument)
{
    Recorded& all = recorded();
    const CbCriticalSectionLock lock(all.section);
    if (all.recording) all.calls.push_back(CbFormat(CB_TEXT("flush %d"), argument).ToUtf8());
}

} // extern "C"
