#pragma once

#include "examples/scansession/options.h"

#include <iosfwd>

namespace scansession
{

/// Takes all scans and builds the session, or loads it; saves it where asked to; prints tree and
/// summary to @p out, and writes `merged.ply`. Progress goes to @p err. Throws: InputError for
/// input that cannot be used, std::system_error for output that cannot be written; no file is left
/// behind then, but a session saved. sessionfile::SessionError for a session that cannot be read.
void RunSession(const Options& options, std::ostream& out, std::ostream& err);

} // namespace scansession
