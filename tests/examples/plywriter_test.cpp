#include "examples/scansession/ply.h"
#include "examples/scansession/plywriter.h"
#include "tests/examples/inputerrors.h"
#include "tests/examples/tempfolder.h"

#include <gmock/gmock.h>

using namespace scansession;
using testing::ElementsAre;

namespace
{

class PlyWriting : public TempFolder
{};

void AddPoints(PlyWriter& writer, int count)
{
    for (int i = 0; i < count; ++i) {
        const auto x = static_cast<float>(i);
        writer.Add({x, -0.5F, 1e-3F}, {0.0F, 0.0F, 1.0F}, {1, 200, static_cast<std::uint8_t>(i)});
    }
}

} // namespace

TEST_F(PlyWriting, GivesAFileThatReadsBack)
{
    const auto path = Folder() / "new" / "folder" / "a.ply";
    constexpr int c_points = 20000; // more than one buffer
    PlyWriter writer(path, c_points);
    AddPoints(writer, c_points);
    writer.Commit();

    const PlyFile file = ReadPly(path);
    EXPECT_EQ(file.format, PlyFormat::BinaryLittleEndian);
    const PlyElement& vertex = *file.Find("vertex");
    ASSERT_EQ(vertex.count, std::uint64_t{c_points});
    for (const std::size_t i : {std::size_t{0}, std::size_t{19999}}) {
        EXPECT_EQ(vertex.Find("x")->values[i], static_cast<double>(i));
        EXPECT_EQ(vertex.Find("y")->values[i], -0.5);
        EXPECT_EQ(vertex.Find("z")->values[i], double{1e-3F});
        EXPECT_EQ(vertex.Find("nz")->values[i], 1.0);
        EXPECT_EQ(vertex.Find("green")->values[i], 200.0);
        EXPECT_EQ(vertex.Find("blue")->values[i], static_cast<double>(i % 256));
    }
    EXPECT_FALSE(std::filesystem::exists(path.string() + ".part"));
}

TEST_F(PlyWriting, WithoutCommitLeavesNoTrace)
{
    {
        PlyWriter writer(Folder() / "new" / "folder" / "a.ply", 3);
        AddPoints(writer, 2);
        EXPECT_THAT(InputErrorOf([&] { writer.Commit(); }), testing::HasSubstr("fewer points"));
    }
    EXPECT_FALSE(std::filesystem::exists(Folder() / "new"));
}

TEST_F(PlyWriting, WithoutCommitKeepsTheOlderFile)
{
    const auto path = Write("a.ply", "older");
    {
        PlyWriter writer(path, 1);
        AddPoints(writer, 1);
        EXPECT_THROW(AddPoints(writer, 1), InputError);
    }
    EXPECT_EQ(Read(path), "older");
    PlyWriter writer(path, 0);
    writer.Commit();
    EXPECT_EQ(ReadPly(path).Find("vertex")->count, 0U);
}

TEST_F(PlyWriting, IntoAFileInsteadOfAFolderIsRefused)
{
    Write("file", "x");
    const auto text = InputErrorOf([&] { PlyWriter(Folder() / "file" / "a.ply", 1); });
    EXPECT_THAT(text, testing::HasSubstr("file"));
    EXPECT_EQ(Read(Folder() / "file"), "x");
}
