#pragma once

#include "platform/base/cbcriticalsection.h"
#include "platform/base/platformapi.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Has the compiler check the arguments of a narrow format. The positions count from 1, and the
/// object itself is a member function's first argument.
#if defined(__GNUC__)
#define CB_PRINTF_FORMAT(text, arguments) __attribute__((format(printf, text, arguments)))
#else
#define CB_PRINTF_FORMAT(text, arguments)
#endif

/// Base of the self-tests that an application can run on the installed system.
///
/// A test has one or more subtests, each with a name, and writes a log.
///
/// @code
/// test.Run();
/// if (test.HasFailed()) report(test.GetLog());
/// @endcode
///
/// Threads: one at a time runs the test; any may write, mark it as failed and ask for the outcome.
class PLATFORM_API CyUnitTest
{
public:
    /// What a line of the log is.
    enum EMessageType : std::int32_t
    {
        eInformation = 0,
        eError = 1
    };

    /// A message of the test log, UTF-8.
    struct Line
    {
        EMessageType type; ///< as Write() was given it
        std::string text;  ///< without an end of line that Write() was not given
    };

    CyUnitTest() = default;
    CyUnitTest(const CyUnitTest&) = delete;
    CyUnitTest& operator=(const CyUnitTest&) = delete;
    virtual ~CyUnitTest();

    /// Runs all subtests in order. What a subtest throws is written as an error and marks the test
    /// as failed, and so does a subtest that is not known; the next one runs then. A repeated run
    /// adds to the log, and to the failures. Throws: what Write() throws then.
    void Run();

    /// True if a subtest that ran has failed.
    [[nodiscard]] bool HasFailed() const noexcept { return failed_.load(); }
    /// Returns a copy of the log.
    [[nodiscard]] std::vector<Line> GetLog() const;

    /// Adds a line to the log.
    /// @param format as std::printf takes it; text arguments are UTF-8
    /// Throws: CbException if the format can't be used.
    virtual void Write(EMessageType type, const char* format, ...) CB_PRINTF_FORMAT(3, 4);
    /// Marks the test as failed.
    void SetError() noexcept { failed_.store(true); }

protected:
    /// Number of subtests that Run() runs.
    [[nodiscard]] virtual std::size_t getNumberOfSubtests() const = 0;
    /// Returns the name by which a subtest is run.
    /// @param index below getNumberOfSubtests()
    [[nodiscard]] virtual std::string getSubtestName(std::size_t index) const = 0;
    /// Runs the subtest of that name. Returns false if there is none.
    virtual bool runUnitTest(const std::string& subtest) = 0;

private:
    mutable CbCriticalSection section_;
    std::vector<Line> log_ CB_GUARDED_BY(section_);
    std::atomic<bool> failed_{false};
};
