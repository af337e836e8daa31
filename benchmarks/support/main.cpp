// Measures the library against hand-written references and other libraries; prints the ratios.

#include "benchmarks/peers/peers.h"
#include "benchmarks/support/measureapart.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <optional>
#include <regex>

namespace
{

// Empty where there is no goal.
std::string judge(double ratio, double goal)
{
    if (goal == 0) return "";
    const bool reached = ratio <= goal;
    char text[32];
    std::snprintf(text, sizeof text, "%s %.3g%s", reached ? "<=" : ">", goal,
                  reached ? "" : " MISSED");
    return text;
}

void printTable(const RatioResult& result)
{
    std::printf("%-28s %9zu %10.1f ns  %6.3f x  +-%4.1f %%  %-15s  %s\n", result.work.c_str(),
                result.size, result.ns, result.ratio, 100 * result.spread,
                judge(result.ratio, result.goal).c_str(), result.reference.c_str());
    if (result.peak > 0 && result.referencePeak > 0) {
        const double ratio = result.peak / result.referencePeak;
        std::printf("%-28s %9s %10.1f MB  %6.3f x  %9s %-15s  of the reference's %.1f MB\n", "", "",
                    result.peak, ratio, "", judge(ratio, result.memoryGoal).c_str(),
                    result.referencePeak);
    }
    std::fflush(stdout);
}

void writeJson(std::ostream& out, const std::vector<RatioResult>& results)
{
    out << "[";
    const char* separator = "\n";
    for (const RatioResult& r : results) {
        out << separator << R"(  {"work": ")" << r.work << R"(", "size": )" << r.size
            << R"(, "ns": )" << r.ns << R"(, "reference": ")" << r.reference << R"(", "ratio": )"
            << r.ratio << R"(, "spread": )" << r.spread << R"(, "goal": )" << r.goal;
        if (r.peak > 0) {
            out << R"(, "peak": )" << r.peak << R"(, "referencePeak": )" << r.referencePeak
                << R"(, "memoryGoal": )" << r.memoryGoal;
        }
        out << "}";
        separator = ",\n";
    }
    out << "\n]\n";
}

void tellMissing(const PeerLibrary& peer)
{
    if (peer.makePeer == nullptr) {
        std::printf("Not compared with %s: %s is not installed\n", peer.name, peer.package);
    }
}

// How much worse a figure of a work may be at its largest size than at its smallest.
struct GrowthGoal
{
    const char* work;
    double RatioResult::*figure;
    const char* figureName;
    double goal;
};

constexpr GrowthGoal c_growthGoals[] = {
    {"handle/depth4", &RatioResult::ratio, "ratio", 1.5},
    {"isvalid/balanced", &RatioResult::ratio, "ratio", 2.5},
    {"isvalid/wide", &RatioResult::ratio, "ratio", 2.5},
    {"isvalid/chain", &RatioResult::ratio, "ratio", 2.5},
    {"remove/chain", &RatioResult::ns, "time", 3},
    {"remove/chain/outside", &RatioResult::ns, "time", 3},
    {"remove/wide", &RatioResult::ns, "time", 4},
    {"remove/wide/outside", &RatioResult::ns, "time", 4},
    {"restructure/merge", &RatioResult::ns, "time", 4},
    {"restructure/merge/many", &RatioResult::ns, "time", 4},
    {"restructure/copy", &RatioResult::ns, "time", 4},
    {"restructure/normalize", &RatioResult::ns, "time", 4},
    {"restructure/collapse", &RatioResult::ns, "time", 4},
};

std::optional<RatioResult> growthOf(const GrowthGoal& growth,
                                    const std::vector<RatioResult>& results)
{
    const RatioResult* first = nullptr;
    const RatioResult* last = nullptr;
    for (const RatioResult& result : results) {
        if (result.work != growth.work) continue;
        if (first == nullptr) first = &result;
        last = &result;
    }
    if (first == last) return std::nullopt;
    return RatioResult{std::string(growth.work) + "/growth",
                       last->size,
                       last->ns,
                       "its " + std::string(growth.figureName) + " at " +
                           std::to_string(first->size),
                       last->*growth.figure / first->*growth.figure,
                       std::max(first->spread, last->spread),
                       growth.goal};
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app{"Measures the library against hand-written references and other libraries"};
    std::string filter;
    std::string json;
    bool quick = false;
    app.add_option("--filter", filter, "Measure only works whose name/size matches this regex");
    app.add_flag("--quick", quick, "Fewer runs, sizes up to 100000 only");
    app.add_option("--json", json, "Write the results to this file as well");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2; // 0 for --help
    }

    std::regex pattern;
    try {
        pattern = filter;
    } catch (const std::regex_error&) {
        std::fprintf(stderr, "--filter: '%s' is not a regular expression\n", filter.c_str());
        return 2;
    }
    // Asked before anything is measured; what the file holds so far stays until then.
    if (!json.empty() && !std::ofstream(json, std::ios::app)) {
        std::fprintf(stderr, "--json: can't write %s\n", json.c_str());
        return 2;
    }

    tellMissing(Pcl());
    tellMissing(Open3d());
    std::printf("%-28s %9s %13s  %8s  %8s  %-15s  %s\n", "work", "size", "per item", "ratio",
                "spread", "goal", "reference");
    std::vector<RatioResult> results;
    for (const auto& suite :
         {IsValidBenchmarks(), RemoveBenchmarks(), RestructureBenchmarks(), StreamBenchmarks(),
          WalkBenchmarks(), HandleBenchmarks(), SurfelIteratorBenchmarks(), MergeBenchmarks(),
          SubsampleBenchmarks(), ShiftedBenchmarks()}) {
        for (const RatioBenchmark& benchmark : suite) {
            const std::string name = benchmark.work + "/" + std::to_string(benchmark.size);
            if (!std::regex_search(name, pattern)) continue;
            if (quick && benchmark.size > 100000) continue;
            std::fflush(nullptr); // not once more by the process that measures
            const auto result = MeasureApart(benchmark, quick ? 5 : 15);
            if (!result) {
                std::fprintf(stderr, "%s ended without a result\n", name.c_str());
                return 1;
            }
            results.push_back(*result);
            printTable(*result);
        }
    }
    if (results.empty()) {
        std::fprintf(stderr, "--filter: nothing matches '%s'\n", filter.c_str());
        return 2;
    }
    for (const GrowthGoal& goal : c_growthGoals) {
        if (const auto growth = growthOf(goal, results)) {
            results.push_back(*growth);
            printTable(*growth);
        }
    }
    if (!json.empty()) {
        std::ofstream file(json);
        writeJson(file, results);
        file.close();
        if (!file) {
            std::fprintf(stderr, "--json: can't write %s\n", json.c_str());
            return 2;
        }
    }
    return 0;
}
