#include "platform/base/cbthread.h"

#include "platform/base/cbexception.h"

#include <utility>

#if defined(_WIN32)
#define NOMINMAX
#include <windows.h>
#elif defined(__linux__)
#include <pthread.h>
#endif

namespace
{

void nameThisThread(const CString& name)
{
#if defined(_WIN32)
    SetThreadDescription(GetCurrentThread(), name.GetString());
#elif defined(__linux__)
    constexpr std::size_t c_longestName = 15;
    pthread_setname_np(pthread_self(), name.ToUtf8().substr(0, c_longestName).c_str());
#else
    (void)name;
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
        function_(*this);
    } catch (...) {
        failure_ = std::current_exception();
    }
}
