#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>

namespace scansession
{

/// How progress is shown.
enum class ProgressStyle
{
    None,
    Lines,    ///< a line every few seconds, for logs; nothing for short work
    Terminal, ///< one line that is drawn over and over, and wiped at the end
};

/// The style that fits standard error, where progress goes.
[[nodiscard]] ProgressStyle StyleForStandardError();

/// Shows how far a stage of work has come. Wipes its line when it is destroyed.
class Progress
{
public:
    Progress(std::ostream& out, ProgressStyle style, std::string stage, std::size_t total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// One of the total is done.
    void Advance();

private:
    std::ostream& out_;
    ProgressStyle style_;
    std::string stage_;
    std::size_t total_;
    std::size_t done_ = 0;
    bool isDrawn_ = false;
    std::chrono::steady_clock::time_point shown_;
};

} // namespace scansession
