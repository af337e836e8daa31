#include "examples/scansession/app/progress.h"

#include <ostream>
#include <utility>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace scansession
{

ProgressStyle StyleForStandardError()
{
#ifdef _WIN32
    const bool isTerminal = _isatty(2) != 0;
#else
    const bool isTerminal = isatty(2) != 0;
#endif
    return isTerminal ? ProgressStyle::Terminal : ProgressStyle::Lines;
}

Progress::Progress(std::ostream& out, ProgressStyle style, std::string stage, std::size_t total)
    : out_(out),
      style_(style),
      stage_(std::move(stage)),
      total_(total),
      shown_(std::chrono::steady_clock::now())
{}

Progress::~Progress()
{
    if (isDrawn_) out_ << '\r' << std::string(stage_.size() + 48, ' ') << '\r' << std::flush;
}

void Progress::Advance()
{
    using namespace std::chrono_literals;
    ++done_;
    const auto now = std::chrono::steady_clock::now();
    if (style_ == ProgressStyle::Terminal && (now - shown_ >= 100ms || !isDrawn_)) {
        out_ << '\r' << stage_ << ": " << done_ << " of " << total_ << std::flush;
        isDrawn_ = true;
        shown_ = now;
    } else if (style_ == ProgressStyle::Lines && now - shown_ >= 3s) {
        out_ << stage_ << ": " << done_ << " of " << total_ << std::endl;
        shown_ = now;
    }
}

} // namespace scansession
