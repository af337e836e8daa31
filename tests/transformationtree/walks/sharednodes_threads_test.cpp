// What many threads may do with one node, one iterator, one numbering of surfels, one attribute.

#include "tests/support/rounds.h"
#include "tests/support/scenario.h"
#include "tests/support/storedbytes.h"
#include "transformationtree/transformationtree.h"

#include <algorithm>
#include <array>
#include <barrier>
#include <functional>
#include <set>
#include <thread>

namespace
{

// Lets four threads do the same at the same time.
void together(const std::function<void(std::size_t thread)>& work)
{
    std::barrier start(4);
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            start.arrive_and_wait();
            work(thread);
        });
    }
}

TEST(Revisions, AreUniqueNumbersInPairs)
{
    const Node shared = CbMake<ZeCTransformationNodeLeaf>();
    std::array<std::vector<ZeTNodeRevision>, 4> first;
    together([&](std::size_t thread) {
        const Node own = CbMake<ZeCTransformationNodeLeaf>();
        for (int i = 0; i < Rounds(5000); ++i) {
            own->NewNodeRevision(3);
            shared->NewNodeRevision(3);
            first[thread].push_back(own->GetNodeRevision(1));
            EXPECT_EQ(own->GetNodeRevision(2), first[thread].back() + 1);
            EXPECT_GT(shared->GetNodeRevision(3), first[thread].back());
        }
    });
    EXPECT_EQ(shared->GetNodeRevision(2), shared->GetNodeRevision(1) + 1);
    std::set<ZeTNodeRevision> all;
    for (const auto& numbers : first) {
        EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
        for (const auto number : numbers) all.insert({number, number + 1});
    }
    EXPECT_EQ(all.size(), 4 * first[0].size() * 2);
}

TEST(OneIteratorAndOneNumbering, MayBeReadByMany)
{
    std::vector<CbVector3f> points;
    for (int i = 0; i < 7; ++i) points.push_back({static_cast<float>(i), 0, 0});
    const Scenario tree("root(x(y(a, b), c), d)");
    LinkByHand(tree.GetInner("x"),
               CbMake<ZeCTransformationNodeLeaf>(CbMake<ZeCModelQMT>(SurfelsAt(points), false)));
    const auto numbering = tree.GetRoot()->GetRas();
    for (int round = 0; round < 200; ++round) {
        const auto shared = tree.GetRootInner()->Find(tree["a"]);
        together([&](std::size_t thread) {
            EXPECT_EQ((*shared).GetNode(), tree["a"]);
            const auto own(shared);
            EXPECT_TRUE(own == shared);
            EXPECT_EQ((*own).GetNode(), tree["a"]);
            EXPECT_EQ(tree.GetRoot()->GetNrLeafNodes(), 5U);
            const auto ownNumbering(numbering);
            for (std::size_t i = 0; i < 20; ++i) {
                const auto number = static_cast<std::uint32_t>((i * (thread + 1) * 5) % 7);
                EXPECT_EQ(numbering.GetPosition(number).x, number);
                EXPECT_EQ(ownNumbering.GetPosition(number).x, number);
            }
        });
    }
}

TEST(Attributes, AreGuarded)
{
    using AreaProperties = ZeCAreaPropertiesAttribute;
    using Hints = ZeCRegistrationHintsAttribute;
    const auto area = CbMake<ZeCImageAreaDataAttribute>();
    const auto areaProperties = CbMake<AreaProperties>();
    const auto hints = CbMake<Hints>();
    const auto jaw = CbMake<ZeCJawSemanticsAttribute>();
    const auto loops = CbMake<ZeCBackgroundOptimizationLoopCountAttribute>();
    together([&](std::size_t) {
        for (int round = 0; round < Rounds(1000); ++round) {
            area->IncrementEnqueuedAreaCorrelationTasks();
            areaProperties->SetOrientationStrategy(AreaProperties::EOrientationStrategy::Default);
            ReadRecord(*areaProperties, RecordOf(*areaProperties));
            hints->SetRegistrationHintSurfelCollection(CbMake<ZeCSurfelCollectionQMT>());
            hints->SetDisplayMode(Hints::ESurfelCollectionDisplayMode{2});
            hints->SetComputationStatus(Hints::EComputationStatus{3});
            ReadRecord(*hints, RecordOf(*hints));
            EXPECT_TRUE(hints->GetRegistrationHintSurfelCollection());
            hints->ResetAttribute();
            jaw->SetOcclusalDirectionBinningRevision(round);
            EXPECT_EQ(jaw->GetExtraoralDirectionEstimate(), (CbVector3f{1, 0, 0}));
            jaw->ResetAttribute();
            loops->SetOptimizationLoopCount(7);
            ReadRecord(*loops, RecordOf(*loops));
            EXPECT_EQ(loops->GetOptimizationLoopCount(), 7U);
        }
    });
    EXPECT_EQ(area->GetNumEnqueuedAreaCorrelationTasks(), 4U * Rounds(1000));
}

} // namespace
