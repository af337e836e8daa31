#include "benchmarks/support/peakmemory.h"

#include <fstream>
#include <string>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace
{

// A line of the process's status, in kB.
double statusValue(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
        double value = 0;
        if (word == name && status >> value) return value;
    }
    return 0;
}

} // namespace

double PeakMemoryOf(const std::function<void()>& work)
{
#if defined(__GLIBC__)
    malloc_trim(0); // or memory that is free but kept would not count
#endif
    std::ofstream("/proc/self/clear_refs") << "5\n"; // sets the peak back
    const double before = statusValue("VmRSS:");
    const double oldPeak = statusValue("VmHWM:");
    work();
    const double peak = statusValue("VmHWM:");
    // A peak that could not be set back and was not passed says nothing.
    return oldPeak > 1.1 * before && peak == oldPeak ? 0 : (peak - before) / 1024;
}
