#pragma once

#include "examples/scansession/app/options.h"

#include <iosfwd>

namespace scansession
{

/// Takes all scans and builds the session, or loads it; merges its clusters and saves it if
/// asked to; prints tree and summary to @p out, and writes `merged.ply`, `model.ply` if clusters
/// were merged, and `overview.png`. Progress goes to @p err. Throws: InputError for input that
/// cannot be used, std::system_error for output that cannot be written; each file is written as a
/// whole or not at all. sessionfile::SessionError for a session that cannot be read.
void RunSession(const Options& options, std::ostream& out, std::ostream& err);

} // namespace scansession
