#include "benchmarks/support/measureapart.h"

#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

/// What one process tells the other.
struct Figures
{
    double ns;
    double ratio;
    double spread;
    double peak;
    double referencePeak;
};

Figures figuresOf(const RatioBenchmark& benchmark, int runs)
{
    // A process that never had a second thread gets cheaper counting from the C library.
    std::thread([] {}).join();
    const RatioResult result = Measure(benchmark, runs);
    return {result.ns, result.ratio, result.spread, result.peak, result.referencePeak};
}

} // namespace

std::optional<RatioResult> MeasureApart(const RatioBenchmark& benchmark, int runs)
{
    int ends[2];
    if (pipe(ends) != 0) return std::nullopt;
    const pid_t child = fork();
    if (child == 0) {
        const Figures figures = figuresOf(benchmark, runs);
        _exit(write(ends[1], &figures, sizeof figures) == sizeof figures ? 0 : 1);
    }
    close(ends[1]);
    Figures figures;
    const bool isDone = read(ends[0], &figures, sizeof figures) == sizeof figures;
    close(ends[0]);
    if (child > 0) waitpid(child, nullptr, 0);
    if (!isDone) return std::nullopt;
    return RatioResult{
        benchmark.work, benchmark.size, figures.ns,   benchmark.reference,   figures.ratio,
        figures.spread, benchmark.goal, figures.peak, figures.referencePeak, benchmark.memoryGoal};
}
