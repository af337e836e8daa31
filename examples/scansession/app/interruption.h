#pragma once

namespace scansession
{

/// Has the program remove the files that it is writing when SIGINT or SIGTERM ends it. A signal
/// that is ignored stays so.
void RemovePartFilesWhenInterrupted();

} // namespace scansession
