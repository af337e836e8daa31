// Sampling real scans on shifted grids.

#include "examples/scansession/scans/scanfolder.h"
#include "examples/scansession/session/session.h"
#include "tests/examples/scandata.h"
#include "tests/platform/datacontainer/sampling/shiftedsampling.h"
#include "tests/support/rounds.h"

TEST(RealScans, GiveTheSameBytesOnShiftedGridsTogetherAndOneByOne)
{
    const auto folder = ScanDataFolder() / "bunny";
    if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no scan data in " << folder;

    const CbMatrix4Rd metresToMillimetres(
        {1000, 0, 0, 0, 0, 1000, 0, 0, 0, 0, 1000, 0, 0, 0, 0, 1});
    const scansession::ScanFolder source(folder, folder / "bun.conf");
    std::vector<Scan> scans;
    const int count = Rounds(static_cast<int>(source.Count())); // slow builds take a few
    for (int i = 0; i < count; ++i) {
        const scansession::Scan scan = source.Take(static_cast<std::size_t>(i));
        scans.push_back({scansession::PackSurfels(scan.surfels),
                         ToFloat(Compose(scan.sensorToRoot, metresToMillimetres))});
    }
    for (const float cellSize : {0.25F, 0.5F, 1.0F}) {
        SCOPED_TRACE(cellSize);
        ExpectSameTogether({cellSize, cellSize / 2, 6.5F, 4}, scans);
    }
}
