#include "examples/scansession/scans/poses.h"
#include "tests/examples/inputerrors.h"

using namespace scansession;

using Poses = InputFiles;

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
    for (const auto& [content, reason, isMatrix] : cases) {
        ExpectRefused(content, reason, [matrix = isMatrix](const auto& path) {
            matrix ? (void)ReadMatrixFile(path) : (void)ReadPoseFile(path);
        });
    }
}
