#include "benchmarks/support/ratiobenchmark.h"

#include <algorithm>
#include <chrono>

namespace
{

double secondsOf(const RatioBenchmark::Work& work, int repetitions)
{
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < repetitions; ++i) work();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return elapsed.count() / repetitions;
}

double quantile(std::vector<double> values, double part)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

// So many repetitions that one run lasts long enough to be timed.
int repetitionsFor(const RatioBenchmark::Work& work)
{
    constexpr double shortest = 0.01; // seconds
    const double once = secondsOf(work, 1);
    return once >= shortest ? 1 : static_cast<int>(std::min(1e6, shortest / std::max(once, 1e-8)));
}

} // namespace

RatioResult Measure(const RatioBenchmark& benchmark, int runs)
{
    const auto pair = benchmark.prepare();
    secondsOf(pair.measured, 1);
    secondsOf(pair.reference, 1);
    const int measuredRepetitions = repetitionsFor(pair.measured);
    const int referenceRepetitions = repetitionsFor(pair.reference);

    std::vector<double> times;
    std::vector<double> ratios;
    for (int run = 0; run < runs; ++run) {
        const double reference = secondsOf(pair.reference, referenceRepetitions);
        const double measured = secondsOf(pair.measured, measuredRepetitions);
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
            benchmark.goal};
}
