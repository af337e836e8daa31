#include "examples/scansession/poses.h"
#include "examples/scansession/scanfolder.h"
#include "tests/examples/inputerrors.h"
#include "tests/examples/tempfolder.h"

#include <cmath>
#include <gmock/gmock.h>

using namespace scansession;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

const std::string c_onePoint = "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\n"
                               "property float y\nproperty float z\nend_header\n1 2 3\n";

void ExpectNear(const Vec3& actual, const Vec3& expected)
{
    EXPECT_NEAR(actual.x, expected.x, 1e-12);
    EXPECT_NEAR(actual.y, expected.y, 1e-12);
    EXPECT_NEAR(actual.z, expected.z, 1e-12);
}

class Poses : public TempFolder
{};

class ScanFolders : public TempFolder
{};

} // namespace

TEST_F(Poses, TurnByTheConjugateAndThenShift)
{
    // As written, the quaternion turns x to y; its conjugate turns x to -y.
    const auto poses = ReadPoseFile(Write("p.conf", "camera 1 2 3 0 0 0 1\n\n# remark\r\n"
                                                    "bmesh b.ply 10 20 30 0 0 3 3\r\n"
                                                    "mesh a.ply 0 0 0 0 0 0 1"));
    ASSERT_EQ(poses.size(), 2U);
    EXPECT_EQ(poses[0].name, "b.ply");
    ExpectNear(MapPoint({1, 0, 0}, poses[0].scanToRoot), {10, 19, 30});
    ExpectNear(MapPoint({0, 1, 2}, poses[0].scanToRoot), {11, 20, 32});
    ExpectNear(MapDirection({1, 0, 0}, poses[0].scanToRoot), {0, -1, 0});
    EXPECT_EQ(poses[1].name, "a.ply");
    EXPECT_EQ(poses[1].scanToRoot, c_matIdentityD);
}

TEST_F(Poses, FromAGeneralQuaternionEqualTheSandwichProduct)
{
    const auto poses = ReadPoseFile(Write("p.conf", "bmesh a 0 0 0 0.1 -0.5 0.3 0.8"));
    // v' = v + 2w(u x v) + 2u x (u x v) for the unit quaternion (u, w), here the conjugate.
    const double norm = std::sqrt(0.01 + 0.25 + 0.09 + 0.64);
    const Vec3 u = Vec3{-0.1, 0.5, -0.3} * (1.0 / norm);
    const Vec3 v{0.7, -1.1, 2.0};
    const Vec3 expected = v + Cross(u, v) * (2.0 * 0.8 / norm) + Cross(u, Cross(u, v)) * 2.0;
    ExpectNear(MapPoint(v, poses[0].scanToRoot), expected);
}

TEST_F(Poses, FromAMatrixFileMapColumnVectors)
{
    const auto matrix = ReadMatrixFile(Write("a.xf", "0 -1 0 10\n1 0 0 20\r\n0 0 1 30\n0 0 0 1\n"));
    ExpectNear(MapPoint({1, 2, 3}, matrix), {8, 21, 33});
}

TEST_F(Poses, ThatCannotBeUsedAreRefusedWithTheirPlace)
{
    const struct
    {
        const char* name;
        const char* content;
        const char* reason;
        bool isMatrix;
    } cases[] = {
        {"empty", "\n", "holds no poses", false},
        {"unknown entry", "camera\nship a.ply", "line 2: unknown entry 'ship'", false},
        {"too short", "bmesh a 0 0 0 0 0 1", "line 1: a pose needs", false},
        {"too long", "bmesh a 0 0 0 0 0 0 1 1", "line 1: a pose needs", false},
        {"no number", "bmesh a 0 x 0 0 0 0 1", "line 1: 'x' is no finite number", false},
        {"not finite", "bmesh a 0 inf 0 0 0 0 1", "'inf' is no finite number", false},
        {"singular", "bmesh a 0 0 0 0 0 0 1\nbmesh b 1 1 1 0 0 0 0", "line 2: singular pose",
         false},
        {"twice", "bmesh a 0 0 0 0 0 0 1\nbmesh a 0 0 0 0 0 0 1", "line 2: second pose", false},
        {"short matrix", "1 0 0 0\n0 1 0 0\n", "holds 8 of the 16 values", true},
        {"long matrix", "1 0 0 0 0 1 0 0 0 0 1 0\n0 0 0 1 1", "line 2: more than the 16", true},
        {"matrix by columns", "1 0 0 0 0 1 0 0 0 0 1 0 5 6 7 1", "last row", true},
        {"matrix of words", "1 0 0 0 0 one 0 0 0 0 1 0 0 0 0 1", "'one' is no finite", true},
        {"flat matrix", "1 2 0 0 2 4 0 0 0 0 1 0 0 0 0 1", "singular pose", true},
        {"zero matrix", "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 1", "singular pose", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto path = Write("pose.txt", c.content);
        const auto text = InputErrorOf([&] {
            if (c.isMatrix) {
                (void)ReadMatrixFile(path);
            } else {
                (void)ReadPoseFile(path);
            }
        });
        EXPECT_THAT(text, testing::StartsWith(path.string()));
        EXPECT_THAT(text, HasSubstr(c.reason));
    }
}

TEST_F(ScanFolders, FollowThePoseFile)
{
    for (const auto* name : {"a.ply", "b.ply", "c.PLY"}) Write(name, c_onePoint);
    const auto poses =
        Write("poses/p.conf", "bmesh c.PLY 0 0 1 0 0 0 1\nbmesh a.ply 0 0 2 0 0 0 1\n");
    const ScanFolder scans(Folder(), poses);
    ASSERT_EQ(scans.Count(), 2U);
    EXPECT_EQ(scans.Take(0).name, "c.PLY");
    EXPECT_EQ(scans.Take(1).name, "a.ply");
    EXPECT_EQ(scans.Take(1).sensorToRoot[3][2], 2.0);
    EXPECT_EQ(scans.Take(1).surfels.at(0).position, (Vec3{1, 2, 3}));
    EXPECT_THAT(scans.LeftOut(), ElementsAre("b.ply"));
}

TEST_F(ScanFolders, WithMatrixFilesAreSortedByName)
{
    const auto shift = [](int z) {
        return "1 0 0 0 0 1 0 0 0 0 1 " + std::to_string(z) + " 0 0 0 1";
    };
    for (const auto* name : {"b.ply", "a.ply"}) Write(name, c_onePoint);
    Write("a.txt", shift(1));
    Write("b.txt", shift(2));
    Write("b.xf", shift(3));
    Write("readme.txt", "something else");
    const ScanFolder scans(Folder(), std::nullopt);
    ASSERT_EQ(scans.Count(), 2U);
    EXPECT_EQ(scans.Take(0).name, "a.ply");
    EXPECT_EQ(scans.Take(0).sensorToRoot[3][2], 1.0);
    EXPECT_EQ(scans.Take(1).sensorToRoot[3][2], 3.0) << ".xf goes first";
}

TEST_F(ScanFolders, ThatDoNotFitTheirPosesAreRefused)
{
    const auto missing = Folder() / "missing";
    EXPECT_EQ(InputErrorOf([&] { ScanFolder(missing, std::nullopt); }),
              missing.string() + ": no such folder");

    std::filesystem::create_directories(Folder() / "empty");
    EXPECT_THAT(InputErrorOf([&] { ScanFolder(Folder() / "empty", std::nullopt); }),
                HasSubstr("empty: holds no PLY files"));

    Write("scans/a.ply", c_onePoint);
    EXPECT_THAT(InputErrorOf([&] { ScanFolder(Folder() / "scans", std::nullopt); }),
                HasSubstr("a.ply: no pose"));

    const auto poses = Write("p.conf", "bmesh a.ply 0 0 0 0 0 0 1\nbmesh z.ply 0 0 0 0 0 0 1\n");
    EXPECT_THAT(InputErrorOf([&] { ScanFolder(Folder() / "scans", poses); }),
                testing::AllOf(HasSubstr("p.conf: pose for an unknown scan"), HasSubstr("z.ply")));

    Write("scans/a.xf", "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1");
    Write("scans/z.xf", "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1");
    EXPECT_THAT(InputErrorOf([&] { ScanFolder(Folder() / "scans", std::nullopt); }),
                HasSubstr("z.xf: pose for an unknown scan"));
}
