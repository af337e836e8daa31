#include "platform/base/cbthread.h"

#include "platform/base/cbexception.h"

#include <cstddef>
#include <string>
#include <utility>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#elif defined(__linux__)
#include <pthread.h>
#endif

namespace
{

void nameThisThread([[maybe_unused]] const CString& name)
{
#if defined(_WIN32)
    SetThreadDescription(GetCurrentThread(), name.GetString());
#elif defined(__linux__)
    constexpr std::size_t c_longestName = 15;
    std::string text = name.ToUtf8();
    if (text.size() > c_longestName) {
        std::size_t end = c_longestName;
        while ((text[end] & 0xC0) == 0x80) --end; // not inside a character
        text.resize(end);
    }
    pthread_setname_np(pthread_self(), text.c_str());
#endif
}

} // namespace

CbThread::CbThread(CString name, Function function)
    : name_(std::move(name)), function_(std::move(function))
{}

CbThread::~CbThread() { Join(); }

void CbThread::Start()
{
    if (started_) throw CbException(CB_HERE, "thread '" + name_.ToUtf8() + "' was started before");
    thread_ = std::thread([this] { run(); });
    started_ = true;
}

void CbThread::Join()
{
    if (thread_.joinable()) thread_.join();
}

void CbThread::run() noexcept
{
    try {
        nameThisThread(name_);
    } catch (...) {
        // A thread without a name works as well.
    }
    try {
        function_(*this);
    } catch (...) {
        failure_ = std::current_exception();
    }
}
