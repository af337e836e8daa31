#include "tests/platform/datacontainer/sampling/shiftedsampling.h"
#include "tests/support/rounds.h"

TEST(ShiftedGrids, GiveTheBytesOfOneRunAfterTheOther)
{
    std::mt19937 random(30);
    for (int round = 0; round < Rounds(3); ++round) {
        for (const float cellSize : {0.1F, 0.25F, 0.5F, 1.0F}) {
            SCOPED_TRACE(cellSize);
            // From about one surfel in each group that shares its cells to dozens.
            const float size = cellSize * static_cast<float>(1 << random() % 4);
            const auto scans = RandomScans(random, 1000, size);
            ASSERT_NO_FATAL_FAILURE(ExpectSameTogether({cellSize, cellSize / 2, 6.5F, 3}, scans));
        }
    }
    ExpectSameTogether({1, 0.5F, 6.5F, 1}, {});
}

TEST(ShiftedGrids, GiveTheSameBytesForSurfelsOnBorders)
{
    std::mt19937 random(31);
    for (const float cellSize : {0.23F, 0.25F, 1.0F / 3, 7e-5F}) {
        SCOPED_TRACE(cellSize);
        const Shifts shifts = ShiftsOf(cellSize);
        const auto surfels = RandomSurfels(random, 1000);
        PutOnBorders(random, *surfels, [&](float cell) {
            return cell * cellSize - shifts[random() % 5] + cellSize / 2;
        });
        ASSERT_NO_FATAL_FAILURE(ExpectSameTogether({cellSize, cellSize / 2, 6.5F, 1},
                                                   {{surfels, {}}, {surfels, TurnAndShift(1, 0)}}));
    }
}

TEST(ShiftedGrids, LeaveOutWhatHasNoCellAndTellWhatTheyCanNotDo)
{
    std::mt19937 random(32);
    const Grid grid{1, 0.5F, 6.5F, 1};
    const auto surfels = RandomSurfels(random, 2000);
    for (const float lost : {c_nan, c_infinity, -3e38F, 3e38F}) {
        (&surfels->GetPositionAccessor()[random() % 2000].x)[random() % 3] = lost;
    }
    const CbMatrix4Rf turn = TurnAndShift(1, 3);
    ExpectSameTogether(grid, {{surfels, turn}});

    const auto with = [&](int group, int place, float value) {
        CbMatrix4Rf m = turn;
        m[group][place] = value;
        return m;
    };
    for (const CbMatrix4Rf& m : {with(0, 3, 0.1F), with(3, 3, 2), with(1, 1, c_nan)}) {
        EXPECT_FALSE(SampleTogether(grid, {{surfels, m}}));
    }
    EXPECT_FALSE(SampleTogether({1, 0.5F, 1, 1}, {{surfels, turn}})) << "equal weights";
    // Cells that all 125 grids have, but too far off.
    for (const float farOff : {9e6F, 1e8F, 1073741824.0F}) {
        const auto far = RandomSurfels(random, 10);
        far->GetPositionAccessor()[7].y = farOff;
        EXPECT_FALSE(SampleTogether(grid, {{far, {}}})) << farOff;
    }
}
