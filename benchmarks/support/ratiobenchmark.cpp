#include "benchmarks/support/ratiobenchmark.h"

#include "benchmarks/support/peakmemory.h"

#include <algorithm>
#include <chrono>

namespace
{

using Work = RatioBenchmark::Work;

double secondsOf(const Work& work, const Work& before, int repetitions)
{
    std::chrono::duration<double> elapsed{};
    for (int left = repetitions; left > 0;) {
        if (before) before();
        const int together = before ? 1 : left;
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < together; ++i) work();
        elapsed += std::chrono::steady_clock::now() - start;
        left -= together;
    }
    return elapsed.count() / repetitions;
}

double quantile(std::vector<double> values, double part)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

// So many repetitions that one run lasts long enough to be timed; fewer where what comes before
// each of them takes much longer.
int repetitionsFor(const Work& work, const Work& before)
{
    constexpr double c_shortest = 0.01; // seconds
    constexpr double c_longest = 0.2;   // with what comes before
    const auto start = std::chrono::steady_clock::now();
    const double once = std::max(secondsOf(work, before, 1), 1e-8);
    const std::chrono::duration<double> whole = std::chrono::steady_clock::now() - start;
    const double most = before ? c_longest / whole.count() : 1e6;
    return static_cast<int>(std::clamp(c_shortest / once, 1.0, std::max(1.0, most)));
}

} // namespace

RatioResult Measure(const RatioBenchmark& benchmark, int runs)
{
    const auto pair = benchmark.prepare();
    double peak = 0;
    double referencePeak = 0;
    if (benchmark.memory) {
        peak = PeakMemoryOf(pair.measured);
        referencePeak = PeakMemoryOf(pair.reference);
    } else {
        secondsOf(pair.measured, pair.beforeMeasured, 1);
        secondsOf(pair.reference, pair.beforeReference, 1);
    }
    const int measuredRepetitions = repetitionsFor(pair.measured, pair.beforeMeasured);
    const int referenceRepetitions = repetitionsFor(pair.reference, pair.beforeReference);

    std::vector<double> times;
    std::vector<double> ratios;
    for (int run = 0; run < runs; ++run) {
        const double reference =
            secondsOf(pair.reference, pair.beforeReference, referenceRepetitions);
        const double measured = secondsOf(pair.measured, pair.beforeMeasured, measuredRepetitions);
        times.push_back(measured);
        ratios.push_back(measured / reference);
    }
    const double ratio = quantile(ratios, 0.5);
    const double spread = (quantile(ratios, 0.75) - quantile(ratios, 0.25)) / 2 / ratio;
    return {benchmark.work,
            benchmark.size,
            quantile(times, 0.5) / static_cast<double>(benchmark.items) * 1e9,
            benchmark.reference,
            ratio,
            spread,
            benchmark.goal,
            peak,
            referencePeak,
            benchmark.memoryGoal};
}
