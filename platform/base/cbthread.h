#pragma once

#include "platform/base/cstring.h"
#include "platform/base/platformapi.h"

#include <atomic>
#include <exception>
#include <functional>
#include <thread>

/// A thread that runs one function.
///
/// The function learns from IsRunning() of the thread it is handed when it is to come to an end. An
/// exception that escapes it ends the thread only, and is kept for GetFailure().
///
/// @code
/// CbThread worker(CB_TEXT("Worker"), [&](CbThread& thread) {
///     while (thread.IsRunning()) step();
/// });
/// worker.Start();
/// @endcode
///
/// Threads: the owner starts, joins and destroys; any thread may ask for the stop.
class PLATFORM_API CbThread
{
public:
    /// What a thread runs: it is handed the thread that runs it.
    using Function = std::function<void(CbThread&)>;

    /// Does not start the thread yet.
    /// @param name for debuggers
    CbThread(CString name, Function function);
    CbThread(const CbThread&) = delete;
    CbThread& operator=(const CbThread&) = delete;
    /// Waits for the function to return. It is not asked to: that is RequestStop().
    ~CbThread();

    /// Starts the function in a thread of its own.
    /// Throws: CbException if it was started before, std::system_error if there can be no
    /// more threads.
    void Start();
    /// Asks the function to come to an end.
    void RequestStop() noexcept { running_.store(false, std::memory_order_release); }
    /// The run flag: true until a stop is requested, before the start too.
    [[nodiscard]] bool IsRunning() const noexcept
    {
        return running_.load(std::memory_order_acquire);
    }
    /// Waits for the function to return; does nothing if the thread was not started.
    void Join();

    /// The whole name; debuggers may show the beginning only.
    [[nodiscard]] const CString& GetName() const noexcept { return name_; }
    /// What escaped the function, or null. Only after Join().
    [[nodiscard]] std::exception_ptr GetFailure() const noexcept { return failure_; }

private:
    void run() noexcept;

    CString name_;
    Function function_;
    std::atomic<bool> running_{true};
    bool started_ = false;
    std::exception_ptr failure_; ///< written by the thread, read after it was joined
    std::thread thread_;
};
