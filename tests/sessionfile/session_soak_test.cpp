#include "tests/sessionfile/sessionrecords.h"
#include "tests/support/failingallocations.h"
#include "tests/support/rounds.h"

#include <random>

TEST(Session, EndsInAnErrorOrATreeWhateverByteIsFlipped)
{
    const SampleTree tree;
    const Bytes good = SessionOf(tree.root);
    EXPECT_LT(good.size(), 4000U);
    std::mt19937 random(20);
    int trees = 0;
    std::size_t before = 0;
    for (int round = 0; round < Rounds(200000); ++round) {
        Bytes bytes = good;
        for (auto flips = 1 + random() % 3; flips > 0; --flips) {
            bytes[random() % bytes.size()] ^= static_cast<std::uint8_t>(1 + random() % 255);
        }
        if (random() % 8 != 0) RepairChecksums(bytes);
        StartAllocationPeak();
        const std::size_t start = AllocatedBytes();
        if (ErrorOf(bytes).empty()) ++trees;
        ASSERT_LT(AllocationPeak() - start, std::size_t{1} << 20) << "round " << round;
        if (round > 100) {
            ASSERT_EQ(AllocatedBytes(), before) << "leaks in round " << round;
        }
        before = AllocatedBytes();
    }
    EXPECT_GT(trees, Rounds(1000)) << "values that mean nothing to the structure";
}
