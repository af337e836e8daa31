#pragma once

#include "examples/scansession/options.h"

#include <iosfwd>

namespace scansession
{

/// Takes all scans and builds the session, or loads it; saves it where asked to; prints tree and
/// summary to @p out, and writes `merged.ply`. Progress goes to @p err. Throws: InputError for
/// input that cannot be used and output that cannot be written; no file is left behind then, but a
/// session saved. sessionfile::SessionError for a session file that cannot be read or written.
void RunSession(const Options& options, std::ostream& out, std::ostream& err);

} // namespace scansession
