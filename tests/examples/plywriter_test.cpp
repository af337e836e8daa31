#include "examples/scansession/ply.h"
#include "examples/scansession/plywriter.h"
#include "tests/examples/inputerrors.h"
#include "tests/examples/tempfolder.h"

#include <gmock/gmock.h>

using namespace scansession;

namespace
{

class PlyWriting : public TempFolder
{};

} // namespace

TEST_F(PlyWriting, LeavesNoTraceWithoutCommit)
{
    const auto path = Folder() / "new" / "folder" / "a.ply";
    {
        PlyWriter writer(path, 1);
        EXPECT_THAT(InputErrorOf([&] { writer.Commit(); }), testing::HasSubstr("fewer points"));
    }
    EXPECT_FALSE(std::filesystem::exists(Folder() / "new"));
    Write(path, "older");
    {
        PlyWriter writer(path, 1);
        writer.Add({}, {}, {});
        EXPECT_THROW(writer.Add({}, {}, {}), InputError);
    }
    EXPECT_EQ(Read(path), "older");
    PlyWriter(path, 0).Commit();
    EXPECT_EQ(ReadPly(path).Find("vertex")->count, 0U);
    const auto text = InputErrorOf([&] { PlyWriter(path / "a.ply", 1); });
    EXPECT_THAT(text, testing::HasSubstr("a.ply: cannot be made as a folder"));
}
