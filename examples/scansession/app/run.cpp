#include "examples/scansession/app/run.h"

#include "examples/scansession/app/changecounter.h"
#include "examples/scansession/app/progress.h"
#include "examples/scansession/drawing/overview.h"
#include "examples/scansession/drawing/pngwriter.h"
#include "examples/scansession/scans/inputerror.h"
#include "examples/scansession/scans/scanfolder.h"
#include "examples/scansession/scans/textfile.h"
#include "examples/scansession/session/session.h"
#include "examples/scansession/session/unknowntext.h"
#include "examples/scansession/simulator/scanner.h"
#include "examples/scansession/surface/surfelexport.h"
#include "platform/math3d/cyexceptionnotinvertible.h"
#include "platform/messages/cymessagedispatcher.h"
#include "sessionfile/replacementfile.h"
#include "sessionfile/sessionfile.h"

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <system_error>
#include <utility>

namespace scansession
{

namespace
{

// The results, in the folder for them.
constexpr const char* c_merged = "merged.ply";
constexpr const char* c_model = "model.ply";
constexpr const char* c_overview = "overview.png";

/// Adds up the time between Start() and Stop().
class Stopwatch
{
public:
    void Start() { started_ = Clock::now(); }
    void Stop() { total_ += Clock::now() - started_; }
    [[nodiscard]] double Seconds() const { return std::chrono::duration<double>(total_).count(); }

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point started_;
    Clock::duration total_{};
};

struct Timing
{
    Stopwatch taking;
    Stopwatch building;
    Stopwatch merging;
    Stopwatch writing;
};

/// What the files of all scans have and the session has not.
struct AllUnused
{
    std::size_t points = 0; ///< without a finite position
    std::size_t scans = 0;  ///< that have such points
    std::set<std::string> properties;
    static constexpr std::size_t c_mostNames = 20; ///< printed

    void Add(const Unused& unused)
    {
        points += unused.points;
        scans += unused.points > 0 ? 1 : 0;
        properties.insert(unused.properties.begin(), unused.properties.end());
    }
    void Print(std::ostream& out) const
    {
        if (points > 0) {
            out << "left out, no finite position: " << points << " vertices, of " << scans
                << " scans\n";
        }
        if (properties.empty()) return;
        const char* separator = "not used: ";
        std::size_t told = 0;
        for (const auto& property : properties) {
            out << std::exchange(separator, ", ");
            if (told++ == c_mostNames) {
                out << "and " << properties.size() - c_mostNames << " more";
                break;
            }
            out << Quoted(property);
        }
        out << '\n';
    }
};

/// Takes the scans into clusters of equal size, give or take one scan. Pumps the messages after
/// each scan, as an application's main loop would.
AllUnused TakeScans(const ScanSource& source, std::size_t clusters, Session& session,
                    Progress& progress, Timing& timing)
{
    AllUnused unused;
    for (std::size_t i = 0, cluster = 0; cluster < clusters; ++cluster) {
        session.StartCluster();
        for (; i < source.Count() * (cluster + 1) / clusters; ++i) {
            timing.taking.Start();
            const Scan scan = source.Take(i);
            timing.taking.Stop();
            unused.Add(scan.unused);
            timing.building.Start();
            session.Append(scan);
            CyMessageDispatcher::GetInstance().DispatchMessages();
            timing.building.Stop();
            progress.Advance();
        }
    }
    return unused;
}

/// Opens what the options name.
std::unique_ptr<const ScanSource> OpenSource(const Options& options, std::ostream& out)
{
    std::unique_ptr<const ScanSource> source;
    if (options.scans) {
        auto folder = std::make_unique<ScanFolder>(*options.scans, options.poses);
        if (!options.quiet) {
            for (const auto& name : folder->LeftOut()) out << "left out, no pose: " << name << '\n';
            if (const auto missing = folder->CountMissing(); missing > 0) {
                out << "left out, no file: " << missing << " scans of mesh lines\n";
            }
        }
        source = std::move(folder);
    } else {
        source = std::make_unique<Scanner>(options.seed, options.frames);
    }

    if (options.clusters > std::max<std::size_t>(source->Count(), 1)) {
        throw InputError("--clusters " + std::to_string(options.clusters) +
                         ": more than the number of scans, " + std::to_string(source->Count()));
    }
    return source;
}

/// Gives the tree the shape that the options ask for, and prints the one it had.
void Restructure(const Options& options, Session& session, Timing& timing, std::ostream& out)
{
    if (!options.mergeClusters && !options.collapse && !options.normalize) return;
    if (!options.quiet) {
        out << "before:\n";
        session.PrintTree(out);
        out << "\nafter:\n";
    }
    timing.building.Start();
    if (options.mergeClusters) session.JoinClusters();
    if (options.collapse) session.CollapseClusters();
    if (options.normalize) session.NormalizeClusters(*options.normalize);
    CyMessageDispatcher::GetInstance().DispatchMessages();
    timing.building.Stop();
}

/// Merges the scans of every cluster if the options ask for that.
std::vector<MergedCluster> Merge(const Options& options, Session& session, ProgressStyle style,
                                 Timing& timing, std::ostream& err)
{
    if (!options.cell) return {};
    std::vector<MergedCluster> merged;
    {
        Progress progress(err, style, "merging", session.GetNrClusters());
        timing.merging.Start();
        merged = session.MergeClusters(*options.cell, options.shifted, [&] { progress.Advance(); });
        timing.merging.Stop();
    }
    for (const auto& cluster : merged) {
        if (cluster.scanned == 0 || cluster.merged > 0) continue;
        err << "scansession: warning: --cell " << *options.cell
            << " is too small for these scans, nothing is left of " << cluster.name << '\n';
    }
    return merged;
}

/// What came out of a session.
struct Results
{
    std::vector<MergedCluster> merged; ///< none without a cell size
    Bounds bounds;                     ///< of the scans
    std::vector<std::filesystem::path> files;
};

/// Writes the scans, the models of the clusters if there are any for the cell size, and draws
/// the ones or the others.
void WriteResults(const Session& session, const Options& options, Progress& progress,
                  Results& results)
{
    const auto write = [&](const Surface& surface, const char* name) {
        results.files.push_back(options.out / name);
        return WriteSurfels(surface, results.files.back(), [&] { progress.Advance(); });
    };
    Surface surface = session.GetScans();
    results.bounds = write(surface, c_merged);
    if (options.cell) {
        surface = session.GetClusterModels();
        write(surface, c_model);
    }
    results.files.push_back(options.out / c_overview);
    WritePng(DrawOverview(surface), results.files.back());
}

void PrintSummary(const std::string& stage, const Session& session, const Options& options,
                  const ChangeCounter& changes, const Results& results, const Timing& timing,
                  std::ostream& out)
{
    const auto point = [&](const Vec3& p) -> std::ostream& {
        return out << '(' << p.x << ", " << p.y << ", " << p.z << ')';
    };
    const std::uint64_t surfels = session.GetNrSurfels();
    out << "\nscans:        " << session.GetNrScans() << "\nsurfels:      " << surfels << '\n';
    if (surfels > 0) {
        out << "bounding box: ";
        point(results.bounds.least) << " to ";
        point(results.bounds.largest) << '\n';
    }
    for (const auto& cluster : results.merged) {
        out << "model:        " << cluster.name << ", " << cluster.scanned << " surfels merged to "
            << cluster.merged << " in " << (options.shifted ? "shifted " : "") << "cells of "
            << *options.cell << '\n';
    }
    out << "messages:     " << changes.Summary() << '\n';
    out << std::fixed << std::setprecision(2) << "time:         " << timing.taking.Seconds()
        << " s " << stage << ", " << timing.building.Seconds() << " s building the tree, "
        << timing.merging.Seconds() << " s merging, " << timing.writing.Seconds() << " s writing\n"
        << std::defaultfloat << std::setprecision(6);
    for (const auto& file : results.files) out << "written:      " << file.string() << '\n';
}

/// Looks whether the results can be written: what can't shall be known before all the work. A
/// session must not be where a result goes.
void CheckOutputs(const Options& options)
{
    if (std::filesystem::exists(options.out) && !std::filesystem::is_directory(options.out)) {
        throw InputError(options.out.string() + ": is no folder");
    }
    for (const char* const name : {c_merged, c_model, c_overview}) {
        const auto whole = [](const std::filesystem::path& path) {
            return std::filesystem::weakly_canonical(std::filesystem::current_path() / path);
        };
        for (const auto& session : {options.load, options.save}) {
            if (session && whole(*session) == whole(options.out / name)) {
                throw InputError(session->string() +
                                 ": is where a result goes; choose another name or --out");
            }
        }
    }
    auto folder = std::filesystem::absolute(options.out);
    while (!std::filesystem::exists(folder)) folder = folder.parent_path(); // made later
    // Given up at once.
    try {
        const sessionfile::ReplacementFile result(folder / c_merged);
    } catch (const std::system_error& error) { // names the file where it will be
        throw InputError((options.out / c_merged).string() +
                         ": cannot be written: " + error.code().message());
    }
    if (options.save) const sessionfile::ReplacementFile session(*options.save);
}

} // namespace

void RunSession(const Options& options, std::ostream& out, std::ostream& err)
{
    CheckOutputs(options);
    Timing timing;
    std::unique_ptr<const ScanSource> source;
    sessionfile::LoadedSession loaded;
    if (options.load) {
        timing.taking.Start();
        loaded = sessionfile::LoadSession(*options.load);
        timing.taking.Stop();
        if (options.cell && loaded.unknown.CountModels() > 0) {
            throw InputError(options.load->string() +
                             ": holds models of unknown classes, which --cell can't merge");
        }
        if (!loaded.unknown.IsEmpty()) {
            err << "scansession: warning: " << options.load->string() << ": "
                << DescribeUnknown(loaded.unknown) << '\n';
        }
    } else {
        source = OpenSource(options, out);
    }
    const std::string stage = source ? source->Stage() : "loading";

    const ProgressStyle style = options.quiet ? ProgressStyle::None : StyleForStandardError();
    ChangeCounter changes;
    Session session(options.maxChildren, std::move(loaded));
    if (source) {
        AllUnused unused;
        {
            Progress progress(err, style, stage, source->Count());
            unused = TakeScans(*source, options.clusters, session, progress, timing);
        }
        if (!options.quiet) unused.Print(out);
    }
    Results results;
    try {
        Restructure(options, session, timing, out);
        results.merged = Merge(options, session, style, timing, err);
    } catch (const CyExceptionNotInvertible&) { // only loaded poses can be so
        throw InputError(options.load.value_or("the session").string() +
                         ": has a pose that can't be inverted, so its scans can "
                         "be neither merged nor moved");
    }
    if (options.save) session.Save(*options.save);
    if (!options.quiet) session.PrintTree(out);

    timing.writing.Start();
    std::filesystem::create_directories(options.out);
    {
        Progress progress(err, style, "writing", session.GetNrScans() + results.merged.size());
        WriteResults(session, options, progress, results);
    }
    timing.writing.Stop();
    if (!options.quiet) PrintSummary(stage, session, options, changes, results, timing, out);
}

} // namespace scansession
