#include "examples/scansession/poses.h"
#include "examples/scansession/scanfolder.h"
#include "tests/examples/inputerrors.h"
#include "tests/examples/tempfolder.h"

#include <cmath>
#include <gmock/gmock.h>

using namespace scansession;
using testing::HasSubstr;

namespace
{

class Poses : public TempFolder
{};

class ScanFolders : public TempFolder
{};

} // namespace

TEST_F(Poses, TurnByTheConjugateAndThenShift)
{
    const auto poses = ReadPoseFile(Write("p.conf", "camera 1 2 3 0 0 0 1\n\n# remark\r\n"
                                                    "bmesh b.ply 10 20 30 0.1 -0.5 0.3 0.8\r\n"
                                                    "mesh a.ply 0 0 0 0 0 0 1"));
    ASSERT_EQ(poses.size(), 2U);
    EXPECT_EQ(poses[0].name, "b.ply");
    // v' = v + 2w(u x v) + 2u x (u x v) for the unit quaternion (u, w), here the conjugate.
    const double norm = std::sqrt(0.01 + 0.25 + 0.09 + 0.64);
    const Vec3 u = Vec3{-0.1, 0.5, -0.3} * (1.0 / norm);
    const Vec3 v{0.7, -1.1, 2.0};
    const Vec3 turned = v + Cross(u, v) * (2.0 * 0.8 / norm) + Cross(u, Cross(u, v)) * 2.0;
    EXPECT_LT(Length(MapDirection(v, poses[0].scanToRoot) - turned), 1e-12);
    EXPECT_LT(Length(MapPoint(v, poses[0].scanToRoot) - turned - Vec3{10, 20, 30}), 1e-12);
    EXPECT_EQ(poses[1].name, "a.ply");
    EXPECT_EQ(poses[1].scanToRoot, c_matIdentityD);
}

TEST_F(Poses, ThatCannotBeUsedAreRefusedWithTheirPlace)
{
    const struct
    {
        const char* content;
        const char* reason;
        bool isMatrix;
    } cases[] = {
        {"\n", "holds no poses", false},
        {"camera\nship a.ply", "line 2: unknown entry 'ship'", false},
        {"bmesh a 0 0 0 0 0 1", "line 1: a pose needs", false},
        {"bmesh a 0 0 0 0 0 0 1 1", "line 1: a pose needs", false},
        {"bmesh a 0 x 0 0 0 0 1", "line 1: 'x' is no finite number", false},
        {"bmesh a 0 inf 0 0 0 0 1", "'inf' is no finite number", false},
        {"bmesh a 0 0 0 0 0 0 1\nbmesh b 1 1 1 0 0 0 0", "line 2: singular pose", false},
        {"bmesh a 0 0 0 0 0 0 1\nbmesh a 0 0 0 0 0 0 1", "line 2: second pose", false},
        {"1 0 0 0\n0 1 0 0\n", "holds 8 of the 16 values", true},
        {"1 0 0 0 0 1 0 0 0 0 1 0\n0 0 0 1 1", "line 2: more than the 16", true},
        {"1 0 0 0 0 1 0 0 0 0 1 0 5 6 7 1", "last row", true},
        {"1 0 0 0 0 one 0 0 0 0 1 0 0 0 0 1", "'one' is no finite", true},
        {"1 2 0 0 2 4 0 0 0 0 1 0 0 0 0 1", "singular pose", true},
        {"0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 1", "singular pose", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.content);
        const auto path = Write("pose.txt", c.content);
        const auto text = InputErrorOf(
            [&] { c.isMatrix ? (void)ReadMatrixFile(path) : (void)ReadPoseFile(path); });
        EXPECT_THAT(text, testing::StartsWith(path.string()));
        EXPECT_THAT(text, HasSubstr(c.reason));
    }
}

TEST_F(ScanFolders, WithMatrixFilesAreSortedByName)
{
    const auto shift = [](int z) {
        return "1 0 0 0 0 1 0 0 0 0 1 " + std::to_string(z) + " 0 0 0 1";
    };
    for (const auto* name : {"b.ply", "a.PLY"}) {
        Write(name, "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\n"
                    "property float y\nproperty float z\nend_header\n1 2 3\n");
    }
    Write("a.txt", shift(1));
    Write("b.txt", shift(2));
    Write("b.xf", shift(3));
    Write("readme.txt", "something else");
    const ScanFolder scans(Folder(), std::nullopt);
    ASSERT_EQ(scans.Count(), 2U);
    EXPECT_EQ(scans.Take(0).name, "a.PLY");
    EXPECT_EQ(scans.Take(0).sensorToRoot[3][2], 1.0);
    EXPECT_EQ(scans.Take(1).sensorToRoot[3][2], 3.0) << ".xf goes first";

    Write("z.xf", shift(4));
    EXPECT_THAT(InputErrorOf([&] { ScanFolder(Folder(), std::nullopt); }),
                HasSubstr("z.xf: pose for an unknown scan"));
    std::filesystem::create_directories(Folder() / "empty");
    EXPECT_THAT(InputErrorOf([&] { ScanFolder(Folder() / "empty", std::nullopt); }),
                HasSubstr("empty: holds no PLY files"));
}
