#include "logging/log.h"

#include "logging/cnloglogger.h"
#include "logging/cvoidlogger.h"
#include "platform/base/cblibraryloader.h"

namespace Logging
{

namespace
{

constexpr std::uint32_t c_debug = 1;
constexpr std::uint32_t c_warning = 3;

template<class Function>
bool find(CbLibraryLoader::Library library, const char* name, Function*& function)
{
    function = reinterpret_cast<Function*>(CbLibraryLoader::Find(library, name));
    return function != nullptr;
}

bool findAll(CbLibraryLoader::Library library, CNLogLogger::EntryPoints& entryPoints)
{
    return find(library, "NLog_CSLogVW", entryPoints.log) &&
           find(library, "NLog_IsLogEnabledW", entryPoints.isLogEnabled) &&
           find(library, "NLog_SetGlobalDiagnosticsContextW",
                entryPoints.setGlobalDiagnosticsContext) &&
           find(library, "NLog_Flush", entryPoints.flush);
}

ILogDispatcher& selectDispatcher()
{
    const CbLibraryLoader::Library library = CbLibraryLoader::Load(CB_TEXT("NLogC.dll"));
    CNLogLogger::EntryPoints entryPoints{};
    if (library != nullptr && findAll(library, entryPoints)) {
        static CNLogLogger nlog(entryPoints);
        return nlog;
    }
    static CVoidLogger none;
    return none;
}

const CString& createGlobalLoggerName()
{
    static const CString name(CB_TEXT("Global Static Logger"));
    return name;
}

// Both are made while the library is loaded, so nobody asks for them too early or from two threads.
ILogDispatcher* const c_dispatcher = &GetLogDispatcher();
const CString* const c_globalLoggerName = &createGlobalLoggerName();

void log(std::uint32_t level, const CbWChar* loggerName, const CallSite& callSite,
         const CbWChar* format, std::va_list arguments)
{
    if (c_dispatcher->IsEnabled(level, loggerName)) {
        c_dispatcher->Log(level, loggerName, &callSite, format, arguments);
    }
}

} // namespace

ILogDispatcher& GetLogDispatcher()
{
    static ILogDispatcher& dispatcher = selectDispatcher();
    return dispatcher;
}

const CString& GetGlobalLoggerName() noexcept { return *c_globalLoggerName; }

bool IsDebugEnabled(const CbWChar* loggerName)
{
    return c_dispatcher->IsEnabled(c_debug, loggerName);
}

void LogDebug(const CbWChar* loggerName, const char* file, std::uint32_t line, const char* function,
              const CbWChar* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    log(c_debug, loggerName, {file, line, function}, format, arguments);
    va_end(arguments);
}

bool IsWarningEnabled(const CbWChar* loggerName)
{
    return c_dispatcher->IsEnabled(c_warning, loggerName);
}

void LogWarning(const CbWChar* loggerName, const char* file, std::uint32_t line,
                const char* function, const CbWChar* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    log(c_warning, loggerName, {file, line, function}, format, arguments);
    va_end(arguments);
}

} // namespace Logging
