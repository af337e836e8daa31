#include "examples/scansession/app/interruption.h"

#include "sessionfile/partfile.h"

#include <csignal>

extern "C" {

/// Ends the program as the signal would have done.
static void endInterrupted(int signal)
{
    sessionfile::RemovePartFiles();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}
}

namespace scansession
{

void RemovePartFilesWhenInterrupted()
{
    for (const int signal : {SIGINT, SIGTERM}) {
        // A shell has what runs in the background ignore SIGINT.
        if (std::signal(signal, &endInterrupted) == SIG_IGN) std::signal(signal, SIG_IGN);
    }
}

} // namespace scansession
