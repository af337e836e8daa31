#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A piece of work measured against a reference that does the same job, mostly by hand.
///
/// Both run alternately in one process, so that a drift of the machine's speed hits both; what
/// counts is the median of the ratios of neighbouring runs. Each benchmark has its own process.
struct RatioBenchmark
{
    /// One way to do the job; does it once.
    using Work = std::function<void()>;
    struct Pair
    {
        Work measured;
        Work reference;
        /// What the ways use up, made anew before each time and not timed; null for nothing.
        Work beforeMeasured = nullptr;
        Work beforeReference = nullptr;
    };

    std::string work;      ///< name, as in "walk/borrowed"
    std::size_t size;      ///< size of the input, such as the number of nodes
    std::size_t items;     ///< how often the job is done in one run, for times per item
    std::string reference; ///< what the reference does
    double goal;           ///< largest ratio that is good; 0, also in the JSON, for none
    /// Builds the input and both ways; what they capture lives as long as they do.
    std::function<Pair()> prepare;
    bool memory = false;   ///< whether the peak memory of both ways is of interest
    double memoryGoal = 0; ///< largest ratio of the peaks that is good; 0 for none
};

struct RatioResult
{
    std::string work;
    std::size_t size;
    double ns; ///< median time per item
    std::string reference;
    double ratio;  ///< median ratio of measured to reference
    double spread; ///< half the distance of the quartiles of the ratio, as a part of the ratio
    double goal;
    double peak = 0;          ///< most memory in use at a time, in MB; 0 where nobody asked
    double referencePeak = 0; ///< the same of the reference
    double memoryGoal = 0;
};

/// Measures one benchmark: @p runs alternating runs of both ways after a warm-up of each.
[[nodiscard]] RatioResult Measure(const RatioBenchmark& benchmark, int runs);

/// The benchmarks of the suites; each prepares itself only when it is measured.
[[nodiscard]] std::vector<RatioBenchmark> WalkBenchmarks();
[[nodiscard]] std::vector<RatioBenchmark> HandleBenchmarks();
[[nodiscard]] std::vector<RatioBenchmark> IsValidBenchmarks();
[[nodiscard]] std::vector<RatioBenchmark> RemoveBenchmarks();
[[nodiscard]] std::vector<RatioBenchmark> RestructureBenchmarks();
[[nodiscard]] std::vector<RatioBenchmark> StreamBenchmarks();
[[nodiscard]] std::vector<RatioBenchmark> SubsampleBenchmarks();
[[nodiscard]] std::vector<RatioBenchmark> MergeBenchmarks();
[[nodiscard]] std::vector<RatioBenchmark> ShiftedBenchmarks();
[[nodiscard]] std::vector<RatioBenchmark> SurfelIteratorBenchmarks();
