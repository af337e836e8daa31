#include "examples/scansession/scans/ply.h"
#include "examples/scansession/scans/poses.h"
#include "examples/scansession/simulator/scanner.h"
#include "sessionfile/sessionfile.h"
#include "tests/examples/programtest.h"
#include "tests/sessionfile/sessionrecords.h"
#include "tests/support/scenario.h"
#include "transformationtree/transformationtree.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <iterator>
#include <png.h>
#include <sstream>

#ifndef _WIN32
#include <csignal>
#include <unistd.h>
#endif

using namespace scansession;
using testing::HasSubstr;

namespace
{

const std::string c_header = "ply\nformat ascii 1.0\n";
const std::string c_onePoint = c_header + "element vertex 1\nproperty float x\nproperty float y\n"
                                          "property float z\nend_header\n1 2 3\n";

/// Runs the program with an output folder that does not exist yet.
class Scansession : public ProgramTest
{
protected:
    [[nodiscard]] std::filesystem::path Out() const { return Folder() / "out"; }
    [[nodiscard]] std::filesystem::path Merged() const { return Out() / "merged.ply"; }

    [[nodiscard]] Result Run(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> all{"--out", Out().string()};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return RunProgram(SCANSESSION_PROGRAM, all);
    }

    [[nodiscard]] std::string OutputOf(const std::vector<std::string>& arguments) const
    {
        const auto result = Run(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.out;
    }
    void ExpectRefused(const std::vector<std::string>& arguments, const std::string& reason) const
    {
        const auto result = Run(arguments);
        EXPECT_EQ(result.exitCode, 2);
        ExpectOneLine(result, "scansession: ", reason);
        EXPECT_FALSE(std::filesystem::exists(Out())) << "left behind";
    }

    [[nodiscard]] std::size_t CountIn(const char* name) const
    {
        return ReadPly(Out() / name).Find("vertex")->count;
    }

    /// The columns of the vertices written, as points.
    static std::vector<Vec3> PointsOf(const PlyFile& file, const char* x, const char* y,
                                      const char* z)
    {
        const PlyElement& vertex = *file.Find("vertex");
        std::vector<Vec3> points;
        for (std::size_t i = 0; i < vertex.count; ++i) {
            points.push_back(
                {vertex.Find(x)->values[i], vertex.Find(y)->values[i], vertex.Find(z)->values[i]});
        }
        return points;
    }
};

} // namespace

TEST_F(Scansession, WritesTheSimulatedSurfelsInTheFrameOfTheRoot)
{
    const auto result = OutputOf({"--frames", "3", "--seed", "4"});
    const PlyFile file = ReadPly(Merged());
    const auto positions = PointsOf(file, "x", "y", "z");
    const auto normals = PointsOf(file, "nx", "ny", "nz");
    const auto colours = PointsOf(file, "red", "green", "blue");

    const Scanner scanner(4, 3);
    std::size_t index = 0;
    for (std::size_t i = 0; i < scanner.Count(); ++i) {
        const Scan scan = scanner.Take(i);
        EXPECT_THAT(result, HasSubstr("\n        frame " + std::to_string(i) + ": " +
                                      std::to_string(scan.surfels.size()) + " surfels"));
        ASSERT_LE(index + scan.surfels.size(), positions.size());
        for (const auto& surfel : scan.surfels) {
            const Vec3 position = MapPoint(surfel.position, scan.sensorToRoot);
            ASSERT_LT(Length(positions[index] - position), 1e-5);
            const Vec3 normal = MapDirection(surfel.normal, scan.sensorToRoot);
            ASSERT_GT(Dot(normals[index], normal), std::cos(0.017)) << "normals have 16 bits";
            ASSERT_EQ(colours[index], (Vec3{double(surfel.colour[0]), double(surfel.colour[1]),
                                            double(surfel.colour[2])}));
            ++index;
        }
    }
    EXPECT_EQ(index, positions.size());
    EXPECT_THAT(result, testing::StartsWith("Root\n  Model\n    Cluster 0\n      Optimizer\n"));
    EXPECT_THAT(result, HasSubstr("\n      Collector\n      Clipboard\n\n"));
    EXPECT_THAT(result, HasSubstr("scans:        3\nsurfels:      " + std::to_string(index)));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Out()), {}), 2);
}

TEST_F(Scansession, SplitsTheSessionAndBoundsTheFanOutWithoutChangingTheResult)
{
    const auto quiet = Run({"--frames", "7", "--quiet"});
    EXPECT_EQ(quiet.out + quiet.err, "");
    const std::string whole = Read(Merged());
    const auto file = (Folder() / "a.session").string();
    const auto result =
        OutputOf({"--frames", "7", "--clusters", "2", "--max-children", "2", "--save", file});
    EXPECT_EQ(Read(Merged()), whole);
    EXPECT_EQ(Describe(*sessionfile::LoadSession(file).root),
              "Root(Model("
              "Cluster 0(Optimizer(Optimizer(frame 0*, frame 1*), Inner(frame 2*)), "
              "Collector(), Clipboard()), "
              "Cluster 1(Optimizer(Optimizer(frame 3*, frame 4*), Inner(frame 5*, frame 6*)), "
              "Collector(), Clipboard())))");
    EXPECT_THAT(result,
                HasSubstr("\nmessages:     clusters created: 2, levels added: 2, nodes added: 8, "
                          "nodes moved: 2, transformations changed: 7\n"));
    std::filesystem::remove_all(Out());
    ExpectRefused({"--frames", "2", "--clusters", "3"},
                  "--clusters 3: more than the number of scans, 2\n");
}

TEST_F(Scansession, GivesTheTreeAnotherShapeWithoutChangingTheResult)
{
    const std::vector<std::string> built{"--frames", "5", "--clusters", "2", "--max-children", "2"};
    ASSERT_EQ(Run(built).exitCode, 0);
    const std::string whole = Read(Merged());
    const std::pair<std::vector<std::string>, const char*> rows[] = {
        {{"--merge-clusters"},
         "Optimizer(frame 0*, frame 1*, Optimizer(frame 2*, frame 3*), Inner(frame 4*))"},
        {{"--collapse"}, "Optimizer(frame 2*, frame 3*, frame 4*)"},
        {{"--collapse", "--merge-clusters", "--normalize", "3"},
         "Optimizer(ClusterDummy(frame 0*, frame 1*, frame 2*), Inner(frame 3*, frame 4*))"},
    };
    for (const auto& [options, shape] : rows) {
        SCOPED_TRACE(options[0]);
        auto arguments = built;
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.insert(arguments.end(), {"--save", (Folder() / "a.session").string()});
        const auto result = OutputOf(arguments);
        EXPECT_EQ(Read(Merged()), whole);
        EXPECT_THAT(result, testing::StartsWith("before:\nRoot\n"));
        EXPECT_THAT(result, HasSubstr("\n\nafter:\nRoot\n"));
        const auto root = sessionfile::LoadSession(Folder() / "a.session").root;
        EXPECT_THAT(Describe(*root), HasSubstr(shape));
    }
    // A scan in the place of a collector.
    const auto file = (Folder() / "a.session").string();
    const Scenario tree("Root(Model(Cluster 0(Optimizer(a*), Collector(), Clipboard()), "
                        "Cluster 1(second(b*), c*, last())))");
    tree["second"]->SetDescription(CB_TEXT("Optimizer"));
    sessionfile::SaveSession(file, tree.GetRootInner(), {});
    const auto result = Run({"--load", file, "--merge-clusters", "--save", file});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(Describe(*sessionfile::LoadSession(file).root), Describe(*tree.GetRoot()));
}

TEST_F(Scansession, GoesOnFromASavedSession)
{
    const auto file = (Folder() / "a.session").string();
    const auto saved = OutputOf({"--frames", "3", "--clusters", "2", "--save", file});
    const std::string merged = Read(Merged());
    std::filesystem::remove_all(Out());
    const auto again = (Folder() / "again.session").string();
    const auto loaded = OutputOf({"--load", file, "--save", again});
    EXPECT_EQ(Read(Merged()), merged);
    EXPECT_EQ(Read(again), Read(file));
    const auto treeOf = [](const std::string& out) { return out.substr(0, out.find("messages:")); };
    EXPECT_EQ(treeOf(loaded), treeOf(saved));
    EXPECT_THAT(loaded, HasSubstr("messages:     none\n"));

    std::string unknown = Read(file);
    Bytes bytes(unknown.begin(), unknown.end());
    RenameClass(bytes, CB_TEXT("QMT_DepthImage"), CB_TEXT("QMT_DepthVideo"));
    RepairChecksums(bytes);
    unknown.assign(bytes.begin(), bytes.end());
    Write("a.session", unknown);
    const auto kept = Run({"--load", file, "--save", again});
    EXPECT_EQ(kept.exitCode, 0);
    ExpectOneLine(kept, "scansession: warning: " + file,
                  ": unknown classes 'QMT_DepthVideo': 3 models, which have no surfels here\n");
    EXPECT_EQ(Read(again), unknown);

    std::filesystem::remove_all(Out());
    ExpectRefused({"--load", file, "--cell", "1"}, "a.session: holds models of unknown classes");
    ExpectRefused({"--load", (Folder() / "b").string()}, "b: no such file");
    Write("a.session", Read(again).substr(0, 5000));
    ExpectRefused({"--load", file}, "a.session: session: cut short");
    ExpectRefused({"--load", file, "--clusters", "2"}, "--help");
    const auto nowhere = (Folder() / "no" / "b").string();
    ExpectRefused({"--scans", "none", "--save", nowhere}, "b: cannot be written");
}

TEST_F(Scansession, MergesTheScansOfEachClusterInTheFrameOfTheRoot)
{
    const auto file = (Folder() / "a.session").string();
    const auto result =
        OutputOf({"--frames", "3", "--clusters", "2", "--cell", "0.5", "--save", file});
    EXPECT_THAT(result, testing::ContainsRegex("model:        Cluster 1, [0-9]+ surfels "
                                               "merged to [0-9]+ in cells of 0.5\n"));
    const std::size_t merged = CountIn("model.ply");
    EXPECT_LT(merged, CountIn("merged.ply") / 4);

    const auto root = sessionfile::LoadSession(file).root;
    std::size_t stored = 0;
    for (const auto& [node, trafo] : root->CachedLeaves()) {
        ASSERT_FALSE(node.IsLeaf()) << "no model above";
        using EType = ZeCModelQMT::ESurfelCollectionType;
        stored += node.GetModel()->BorrowSurfelCollection(EType::Standard)->GetNrSurfels();
        EXPECT_EQ(node.GetModelRevision(), node.GetNodeRevisionSubtree(3));
    }
    EXPECT_EQ(merged, stored);
    ExpectOneLine(Run({"--load", file, "--merge-clusters", "--cell", "1e-30"}), "scansession: ",
                  "warning: --cell 1e-30 is too small for these scans, nothing is left of Cl");

    CbMatrix4Rd shift;
    shift[3][0] = 1000.0;
    root->FrontCachedLeaf()->SetRelativeTrafo(shift);
    sessionfile::SaveSession(file, root, {});
    ASSERT_EQ(Run({"--load", file, "--cell", "0.5", "--shifted"}).exitCode, 0);
    EXPECT_GT(CountIn("model.ply"), merged);
    const PlyFile model = ReadPly(Out() / "model.ply");
    const auto& x = model.Find("vertex")->Find("x")->values;
    EXPECT_GT(x.front(), 900.0);
    EXPECT_LT(x.back(), 100.0);

    CbMatrix4Rd flat;
    flat[0][0] = 0.0;
    root->FrontLeaf()->GetFather()->SetRelativeTrafo(flat);
    sessionfile::SaveSession(file, root, {});
    std::filesystem::remove_all(Out());
    ExpectRefused({"--load", file, "--cell", "1"}, "a.session: has a pose that can't be inverted");
}

TEST_F(Scansession, DrawsThreeViews)
{
    EXPECT_EQ(OutputOf({"--frames", "3", "--quiet"}), "");
    const std::string scans = Read(Out() / "overview.png");
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_memory(&image, scans.data(), scans.size()));
    ASSERT_EQ(image.width, 1500U);
    ASSERT_EQ(image.height, 600U);
    image.format = PNG_FORMAT_RGBA;
    std::vector<std::uint32_t> pixels(std::size_t{1500} * 600);
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr));
    std::array<int, 3> drawn{};
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        if (pixels[i] != pixels[0]) ++drawn.at(i % 1500 / 500);
    }
    EXPECT_THAT(drawn, testing::Each(testing::Gt(500 * 600 / 20)));
    EXPECT_EQ(OutputOf({"--frames", "3", "--quiet", "--cell", "2"}), "");
    EXPECT_NE(Read(Out() / "overview.png"), scans) << "of the merged models";
    std::filesystem::remove(Out() / "overview.png");
    std::filesystem::create_directory(Out() / "overview.png");
    const auto result = Run({"--frames", "1"});
    EXPECT_EQ(result.exitCode, 2);
    ExpectOneLine(result, "scansession: ", "overview.png: cannot be written");
}

TEST_F(Scansession, KeepsTheOrderAndTheUnitOfRangeScans)
{
    const std::string properties =
        "property double x\nproperty double y\nproperty double z\nproperty uchar red\n"
        "property uchar green\nproperty uchar blue\nproperty float nx\nproperty float ny\n"
        "property float nz\nend_header\n";
    const std::string others = // names for the same, and what there is no use for
        "property double x\nproperty double y\nproperty double z\nproperty uchar diffuse_red\n"
        "property uchar diffuse_green\nproperty uchar diffuse_blue\nproperty float normal_x\n"
        "property float normal_y\nproperty float normal_z\nproperty float confidence\n"
        "element face 0\nproperty list uchar int vertex_indices\nend_header\n";
    Write("scans/a.ply", c_header + "element vertex 5\n" + others +
                             "nan 0 0 9 9 9 1 0 0 1\n0.001 0 0 1 2 3 0 1 0 1\n"
                             "0 -inf 0 9 9 9 1 0 0 1\n0 0.002 0 4 5 6 0 1 0 1\n"
                             "0 0 1e39 9 9 9 1 0 0 1");
    Write("scans/b.ply", c_header + "element vertex 1\n" + properties + "0 0 3 7 8 9 1 0 0\n");
    Write("scans/c.ply", c_header + "element vertex 0\n" + properties);
    Write("scans/d.ply", c_onePoint);
    const auto poses = Write("poses.conf", "camera 0 0 0 0 0 0 1\n"
                                           "bmesh b.ply 0 0 1 0 0 0 1\n"
                                           "mesh c.ply 0 0 0 0 0 0 1\n"
                                           "mesh gone.ply 0 0 0 0 0 0 1\n"
                                           "bmesh a.ply 0.5 0 0 1 1 1 1\n");
    const auto result =
        OutputOf({"--scans", (Folder() / "scans").string(), "--poses", poses.string()});
    EXPECT_THAT(result, testing::StartsWith(
                            "left out, no pose: d.ply\n"
                            "left out, no file: 1 scans of mesh lines\n"
                            "left out, no finite position: 3 vertices, of 1 scans\n"
                            "not used: 'face vertex_indices', 'vertex confidence'\nRoot\n"));
    const PlyFile file = ReadPly(Merged());
    const auto positions = PointsOf(file, "x", "y", "z");
    ASSERT_EQ(positions.size(), 3U);
    EXPECT_LT(Length(positions[0] - Vec3{0, 0, 4}), 1e-6);
    EXPECT_LT(Length(positions[1] - Vec3{0.5, 0, 0.001}), 1e-7);
    EXPECT_LT(Length(positions[2] - Vec3{0.502, 0, 0}), 1e-7);
    const auto normals = PointsOf(file, "nx", "ny", "nz");
    EXPECT_GT(normals[0].x, std::cos(0.017));
    EXPECT_GT(normals[2].x, std::cos(0.017)) << "y turns to x";
    const auto colours = PointsOf(file, "red", "green", "blue");
    EXPECT_EQ(colours[2], (Vec3{4, 5, 6}));
}

TEST_F(Scansession, KeepsNormalsUprightWhereAMatrixStretches)
{
    Write("scans/a.ply", c_header + "element vertex 1\nproperty float x\nproperty float y\n"
                                    "property float z\nproperty float nx\nproperty float ny\n"
                                    "property float nz\nend_header\n1 1 0 1 1 0\n");
    // For column vectors; also a reflection.
    Write("scans/a.txt", "0 -2 0 0\n1 0 0 20\r\n0 0 -1 5\n0 0 0 1\n");
    const auto result = OutputOf({"--scans", (Folder() / "scans").string()});
    const PlyFile file = ReadPly(Merged());
    EXPECT_LT(Length(PointsOf(file, "x", "y", "z")[0] - Vec3{-2, 21, 5}), 1e-6);
    EXPECT_GT(Dot(PointsOf(file, "nx", "ny", "nz")[0], Normalized({-1, 2, 0})), std::cos(0.017));
}

TEST_F(Scansession, RefusesBadInputWithOneLineAndNoOutput)
{
    const auto scans = (Folder() / "scans").string();
    ExpectRefused({"--scans", scans}, "scans: no such folder");
    Write("scans/a.ply", c_onePoint);
    ExpectRefused({"--scans", scans}, "a.ply: no pose");

    const auto poses = Folder() / "poses.conf";
    const std::vector<std::string> arguments{"--scans", scans, "--poses", poses.string()};
    ExpectRefused(arguments, "poses.conf: no such file");
    const std::string zero = " 0 0 0 0 0 0 ";
    Write("poses.conf", "bmesh a.ply" + zero + "1\nbmesh b.ply" + zero + "1\n");
    ExpectRefused(arguments, "poses.conf: pose for an unknown scan");
    Write("poses.conf", "mesh b.ply" + zero + "1\n");
    ExpectRefused(arguments, "poses.conf: none of its scans is in ");
    Write("poses.conf", "bmesh a.ply" + zero + "1\nbmesh b.ply" + zero + "1\n");
    Write("scans/b.ply", "no PLY file");
    ExpectRefused(arguments, "b.ply: line 1: is no PLY file");
    std::filesystem::remove(Folder() / "scans" / "b.ply");
    std::filesystem::create_directory(Folder() / "scans" / "b.ply");
    ExpectRefused(arguments, "b.ply: is no file");
}

TEST_F(Scansession, LeavesWhatStandsAtTheOutputPlace)
{
    Write("out", "something else");
    EXPECT_THAT(Run({"--frames", "1"}).err, HasSubstr("out: is no folder\n"));
    EXPECT_EQ(Read(Out()), "something else");
    std::filesystem::remove(Out());
    Write("out/merged.ply", "older");
    EXPECT_EQ(Run({"--scans", (Folder() / "scans").string()}).exitCode, 2);
    for (const char* const option : {"--save", "--load"}) {
        const auto session = Out() / ".." / "out" / "merged.ply";
        const auto result = Run({"--quiet", option, session.string()});
        EXPECT_THAT(result.err, HasSubstr("merged.ply: is where a result goes"));
    }
    EXPECT_EQ(Read(Merged()), "older");
}

#ifndef _WIN32
TEST_F(Scansession, LeavesNoPartOfAFileWhereASignalEndsItButAKill)
{
    std::filesystem::create_directory(Out());
    const auto hasPart = [&] {
        std::error_code error; // files may vanish meanwhile
        return std::any_of(std::filesystem::directory_iterator(Out(), error), {},
                           [](const auto& entry) { return entry.path().extension() == ".part"; });
    };
    for (const int signal : {SIGINT, SIGTERM, SIGKILL}) {
        for (bool wasWriting = false; !wasWriting;) { // it may end before it is stopped
            const pid_t child = fork();
            if (child == 0) {
                execl(SCANSESSION_PROGRAM, SCANSESSION_PROGRAM, "--quiet", "--frames", "2", "--out",
                      Out().c_str(), nullptr);
                _exit(127);
            }
            int status = 0;
            bool hasEnded = false;
            while (!hasPart() && !hasEnded) hasEnded = waitpid(child, &status, WNOHANG) != 0;
            if (!hasEnded) {
                kill(child, SIGSTOP);
                waitpid(child, &status, WUNTRACED);
                hasEnded = !WIFSTOPPED(status);
            }
            if (hasEnded) {
                ASSERT_EQ(status, 0);
                continue;
            }
            wasWriting = hasPart();
            kill(child, signal);
            kill(child, SIGCONT);
            waitpid(child, &status, 0);
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal);
            EXPECT_EQ(hasPart(), wasWriting && signal == SIGKILL);
        }
    }
    EXPECT_EQ(Run({"--quiet", "--frames", "1"}).exitCode, 0);
    EXPECT_FALSE(hasPart());
}
#endif

TEST_F(Scansession, RefusesCommandLinesThatItDoesNotUnderstand)
{
    std::istringstream lines("--elephants;stray;--seed;--seed -1;--seed 18446744073709551616;"
                             "--frames 0;--frames many;--scans . --frames 3;--poses p.conf;"
                             "--max-children 1;--clusters 0;--quiet=2;--shifted;--cell 0;--cell -1;"
                             "--cell nan;--cell inf;--cell 1e39;--cell 1e-99;--cell 1mm");
    for (std::string line; std::getline(lines, line, ';');) {
        SCOPED_TRACE(line);
        std::istringstream words(line);
        ExpectRefused({std::istream_iterator<std::string>(words), {}}, "--help");
    }
    EXPECT_EQ(Run({"--help"}).exitCode, 0);
}
