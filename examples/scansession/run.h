#pragma once

#include "examples/scansession/options.h"

#include <iosfwd>

namespace scansession
{

/// Takes all scans, builds the session, prints tree and summary to @p out, and writes
/// `merged.ply`. Progress goes to @p err.
/// Throws: InputError for input that cannot be used and output that cannot be written; no file is
/// left behind then.
void RunSession(const Options& options, std::ostream& out, std::ostream& err);

} // namespace scansession
