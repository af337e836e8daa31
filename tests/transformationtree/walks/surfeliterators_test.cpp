// Walks, numberings and samples of surfels against an enumeration by hand.

#include "platform/base/cystreamreadbinarybuffer.h"
#include "platform/base/cystreamwritebinarybuffer.h"
#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/platform/datacontainer/surfels.h"
#include "tests/support/rounds.h"
#include "tests/support/scenario.h"
#include "tests/support/treematrices.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace
{

using Collection = CbSmartPointer<ZeCSurfelCollectionQMT>;
using SurfelIterator = ZeCTransformationNode::ZeNSurfelIterator;
using Numbering = ZeCTransformationNode::ZeNRandomAccessSurfelIterator;
using Samples = ZeCTransformationNode::ZeNRandomSamplingSurfelIterator;

static_assert(std::ranges::view<ZeCTransformationNode::ZeCSurfelRange>);
static_assert(std::ranges::input_range<ZeCTransformationNode::ZeCSurfelRange>);

// Surfels whose positions count up.
Collection surfels(std::uint32_t count, std::uint32_t start = 0)
{
    std::mt19937 random(start);
    const auto collection = RandomSurfels(random, count);
    for (auto& position : collection->GetPositionAccessor()) {
        position.x = static_cast<float>(start++);
    }
    return collection;
}

Leaf leafWith(const Collection& collection)
{
    return CbMake<ZeCTransformationNodeLeaf>(CbMake<ZeCModelQMT>(collection, false));
}

// A root whose leaves have so many surfels.
Inner leavesWith(const std::vector<std::uint32_t>& counts)
{
    const auto root = CbMake<ZeCTransformationNodeInner>();
    for (const std::uint32_t count : counts) LinkByHand(root, leafWith(surfels(count)));
    return root;
}

// The surfels of one leaf, as the walk of leaves, tested elsewhere, tells of them.
struct LeafRun
{
    const ZeCSurfelContainer* container = nullptr;
    std::uint32_t count = 0;
    CbMatrix4Rd trafo;
};

struct Surfel
{
    const ZeCSurfelContainer* container;
    std::uint32_t index;
    const CbMatrix4Rd* trafo;
};

std::vector<LeafRun> runsIn(const ZeCTransformationNode& node)
{
    std::vector<LeafRun> runs;
    for (const auto& [leaf, trafo] : node.Leaves()) {
        LeafRun& run = runs.emplace_back(LeafRun{.trafo = trafo});
        const auto model = leaf.GetModel();
        if (!model) continue;
        run.container = model->BorrowSurfelCollection(ZeCModelQMT::ESurfelCollectionType::Standard);
        if (run.container != nullptr) run.count = run.container->GetNrSurfels();
    }
    return runs;
}

std::vector<Surfel> surfelsIn(const std::vector<LeafRun>& runs)
{
    std::vector<Surfel> all;
    for (const LeafRun& run : runs) {
        for (std::uint32_t i = 0; i < run.count; ++i) all.push_back({run.container, i, &run.trafo});
    }
    return all;
}

Inner randomTree(std::mt19937& random)
{
    std::vector<Inner> inners{CbMake<ZeCTransformationNodeInner>()};
    std::uint32_t next = 0;
    for (auto size = random() % 30; size > 0; --size) {
        const Inner father = inners[random() % inners.size()];
        const auto draw = random() % 8;
        Node child;
        if (draw < 2) {
            inners.push_back(CbMake<ZeCTransformationNodeInner>());
            inners.back()->SetModel(CbMake<ZeCModelQMT>(surfels(2), true), -1); // not walked
            child = inners.back();
        } else if (draw < 4) {
            const Model empty = draw == 2 ? Model(CbMake<ZeCModelQMT>()) : nullptr;
            child = CbMake<ZeCTransformationNodeLeaf>(empty);
        } else {
            const auto count = static_cast<std::uint32_t>(random() % 5);
            child = leafWith(surfels(count, next));
            next += count;
        }
        child->SetRelativeTrafo(RandomPose(random));
        LinkByHand(father, child);
    }
    return inners[0];
}

// The walk that stops at leaves without surfels, stepped over them.
void checkWalk(const ZeCTransformationNode& root, const std::vector<LeafRun>& runs)
{
    SurfelIterator it = root.BeginSurfel();
    SurfelIterator reused = it;
    for (const LeafRun& run : runs) {
        ASSERT_EQ(it.GetContainer(), run.container);
        ASSERT_THAT(it.GetTransformation(), HasBitsOf(run.trafo));
        if (run.count == 0) {
            ASSERT_FALSE(it);
            ++it;
        }
        for (std::uint32_t i = 0; i < run.count; ++i) {
            ASSERT_TRUE(it);
            ASSERT_EQ(it.GetIndex(), i);
            reused = it;
            ASSERT_TRUE(reused == it);
            ++it;
            ASSERT_FALSE(reused == it);
            ASSERT_EQ(reused.GetContainer(), run.container);
        }
    }
    ASSERT_FALSE(it);
    ASSERT_FALSE(++it);
}

void checkRange(const ZeCTransformationNode& root, const std::vector<Surfel>& expected)
{
    auto surfel = expected.begin();
    for (const auto& [container, index, trafo] : root.Surfels()) {
        ASSERT_NE(surfel, expected.end());
        ASSERT_EQ(&container, surfel->container);
        ASSERT_EQ(index, surfel->index);
        ASSERT_THAT(trafo, HasBitsOf(*surfel->trafo));
        ++surfel;
    }
    ASSERT_EQ(surfel, expected.end());
}

// All attributes of one surfel.
auto attributesOf(const Surfel& surfel)
{
    const auto& [container, i, trafo] = surfel;
    return std::tuple(container->GetPositionAccessor()[i], container->GetNormalAccessor()[i],
                      container->GetColorAccessor()[i], float(container->GetQualityAccessor()[i]),
                      container->GetTissueTypeAccessor()[i],
                      container->GetBoundaryFlagAccessor()[i],
                      container->GetCurvatureAccessor()[i]);
}

template<class... Number>
auto attributesOf(const auto& iterator, Number... i)
{
    return std::tuple(iterator.GetPosition(i...), iterator.GetNormal(i...), iterator.GetColor(i...),
                      iterator.GetQuality(i...), iterator.GetTissueType(i...),
                      iterator.GetBoundaryFlag(i...), iterator.GetCurvature(i...));
}

void checkNumbering(const Numbering& numbering, const std::vector<Surfel>& expected,
                    std::mt19937& random)
{
    ASSERT_EQ(numbering.GetNrOfOverallSurfels(), expected.size());
    std::vector<std::uint32_t> order(expected.size());
    std::iota(order.begin(), order.end(), 0U);
    if (random() % 2 == 0) std::shuffle(order.begin(), order.end(), random);
    for (const std::uint32_t i : order) {
        ASSERT_EQ(attributesOf(numbering, i), attributesOf(expected[i]));
        ASSERT_THAT(numbering.GetTransformation(i), HasBitsOf(*expected[i].trafo));
    }
}

void checkSamples(Samples samples, std::size_t count, const std::vector<Surfel>& expected)
{
    ASSERT_EQ(samples.GetNrSamples(), count);
    std::size_t visited = 0;
    for (std::uint64_t number = 0; samples; ++samples, ++visited, number += 1073676287) {
        const Surfel& surfel = expected[number % expected.size()];
        ASSERT_EQ(attributesOf(samples), attributesOf(surfel));
        ASSERT_THAT(samples.GetTransformation(), HasBitsOf(*surfel.trafo));
    }
    ASSERT_EQ(visited, count);
}

TEST(SurfelsOfRandomTrees, AreThoseOfAllLeavesInOrder)
{
    for (int round = 0; round < Rounds(300); ++round) {
        SCOPED_TRACE(testing::Message() << "seed " << round);
        std::mt19937 random(round);
        const Inner root = randomTree(random);
        for (const auto& [node, trafo] : root->Nodes()) {
            const auto runs = runsIn(node);
            const auto all = surfelsIn(runs);
            checkWalk(node, runs);
            checkRange(node, all);
            checkNumbering(node.GetRas(), all, random);
            const int step = 1 + static_cast<int>(random() % 4);
            auto samples = node.BeginRss(step);
            checkSamples(samples, all.size() / static_cast<unsigned>(step), all);
            if (all.empty()) continue;
            const int wanted = static_cast<int>(random() % 10);
            (++samples).InitByNrSamples(wanted); // begins anew
            checkSamples(samples, static_cast<unsigned>(wanted), all);
            if (HasFatalFailure()) return;
        }
    }
}

TEST(AWalkOfSurfels, IsComparedByItsLeavesAndPlaceInThem)
{
    EXPECT_TRUE(leavesWith({})->BeginSurfel() == std::default_sentinel);
    EXPECT_FALSE(SurfelIterator(CbWeakPointer<const ZeCSurfelContainer>(
        CbSmartPointer<const ZeCSurfelContainer>(surfels(3)))));

    const auto root = leavesWith({2, 0, 3});
    EXPECT_TRUE(root->BeginSurfel() == root->BeginSurfel());
    EXPECT_FALSE(root->BeginSurfel() == leavesWith({2})->BeginSurfel()) << "another root";
    EXPECT_FALSE(root->BeginSurfel() == leafWith(surfels(2))->BeginSurfel());
    EXPECT_TRUE(leafWith(surfels(1))->BeginSurfel() == leafWith(surfels(2))->BeginSurfel());
}

TEST(AWalkOfSurfels, TakesContainersThatAreGoneForEmptyOnes)
{
    Leaf leaf = leafWith(surfels(3));
    const Leaf other = leafWith(surfels(2));
    SurfelIterator it = leaf->BeginSurfel();
    SurfelIterator copy = it;
    SurfelIterator moved = other->BeginSurfel();
    moved = it;
    it = other->BeginSurfel();
    leaf = nullptr;
    for (SurfelIterator* gone : {&copy, &moved}) {
        EXPECT_EQ(gone->GetContainer(), nullptr);
        EXPECT_FALSE(*gone);
        EXPECT_FALSE(++*gone);
    }
    EXPECT_TRUE(++it);
    EXPECT_FALSE(++it);

    // A model that reads another one's record loses its collection.
    CyStreamWriteBinaryBuffer record;
    CbMake<ZeCModelQMT>()->Serialize(record);
    const auto model = CbMake<ZeCModelQMT>(surfels(4), false);
    const auto root = CbMake<ZeCTransformationNodeInner>();
    LinkByHand(root, CbMake<ZeCTransformationNodeLeaf>(model));
    LinkByHand(root, other);
    it = root->BeginSurfel();
    ++it;
    CyStreamReadBinaryBuffer stream(record.GetBytes());
    model->Serialize(stream);
    EXPECT_FALSE(it);
    EXPECT_TRUE(++it);
    EXPECT_EQ(it.GetIndex(), 0U);
}

TEST(ANumberingOfSurfels, KeepsModelsAndMoment)
{
    Inner root = leavesWith({5, 4, 11});
    root->BeginChild()[2]->SetRelativeTrafo(Shift(1, 2, 3));
    Numbering numbering = root->GetRas();
    auto samples = root->BeginRss(1);
    root->BeginChild()[2]->SetRelativeTrafo(Shift(4, 5, 6));
    root = nullptr;
    const Numbering copy = numbering;
    numbering = leafWith(surfels(1))->GetRas();
    EXPECT_EQ(numbering.GetPosition(0).x, 0);
    EXPECT_EQ(copy.GetPosition(9).x, 0);
    EXPECT_EQ(copy.GetPosition(4).x, 4);
    EXPECT_EQ(copy.GetPosition(19).x, 10);
    EXPECT_EQ(copy.GetTransformation(19), Shift(1, 2, 3));
    EXPECT_EQ((++samples).GetPosition().x, copy.GetPosition(1073676287 % 20).x);
}

TEST(SurfelsBelowASingularTransformation, CanBeWalkedButNotNumbered)
{
    const auto root = leavesWith({});
    const auto flat = leavesWith({2});
    flat->SetRelativeTrafo(CbMatrix4Rd({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
    LinkByHand(root, flat);
    EXPECT_THROW((void)root->GetRas(), CyExceptionNotInvertible);
    EXPECT_THROW((void)root->BeginRss(1), CyExceptionNotInvertible);
    EXPECT_EQ(std::ranges::distance(root->Surfels()), 2);
    EXPECT_EQ(root->BeginSurfel().GetTransformation(), flat->GetRelativeTrafo());
}

} // namespace
