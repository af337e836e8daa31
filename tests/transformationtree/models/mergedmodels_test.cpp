// Merging the surfels of a node vector, and the cached models of inner nodes.

#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/platform/datacontainer/sampling/shiftedsampling.h"
#include "tests/support/scenario.h"
#include "tests/support/treematrices.h"
#include "transformationtree/models/zecleafnodevector.h"

#include <limits>

namespace
{

using EType = ZeCModelQMT::ESurfelCollectionType;

// A tree with overlapping scans, and two nodes that have nothing to merge.
class MergedScans : public testing::Test
{
protected:
    MergedScans()
    {
        const auto cluster = CbMake<ZeCTransformationNodeInner>();
        cluster->SetRelativeTrafo(RandomPose(random));
        LinkByHand(root, cluster);
        for (const std::uint32_t count : {300U, 0U, 200U}) {
            scans.push_back(RandomSurfels(random, count));
            accurate.push_back(RandomSurfels(random, count / 2));
            add(count == 0 ? root : cluster, CbMake<ZeCModelQMT>(scans.back(), accurate.back()));
        }
        add(root, CbMake<ZeCModelQMT>());
        add(root, nullptr);
        leaves.SetInnerNode(root, ZeCNodeVector::itLeaf, c_matIdentityD, 0);
    }

    void add(const Inner& father, const Model& model)
    {
        const Leaf leaf = CbMake<ZeCTransformationNodeLeaf>(model);
        leaf->SetRelativeTrafo(RandomPose(random));
        LinkByHand(father, leaf);
    }

    // What is to come out, with everything spelt out.
    template<class Add>
    void forEachScan(const std::vector<Collection>& surfels, const CbMatrix4Rf* extra, Add add)
    {
        for (const auto& element : leaves.GetElements()) {
            for (std::size_t i = 0; i < scans.size(); ++i) {
                if (element.GetSurfelCollection() != scans[i]) continue;
                const CbMatrix4Rf m = ToFloat(element.GetTrafo());
                add(*surfels[i], extra != nullptr ? Compose(m, *extra) : m);
            }
        }
    }
    Collection sampled(float cellSize, float offset, float gain, float parameter,
                       const CbMatrix4Rf* extra,
                       const std::vector<CyBoundingSphere>* spheres = nullptr)
    {
        ZeCGridSampler sampler(cellSize, offset, gain);
        forEachScan(scans, extra, [&](const auto& surfels, const CbMatrix4Rf& m) {
            spheres != nullptr ? sampler.AddSurfels(surfels, &m, *spheres)
                               : sampler.AddSurfels(surfels, &m);
        });
        const auto result = CbMake<ZeCSurfelCollectionQMT>(sampler.GetNrOfUsedCells(), false,
                                                           c_attributes, nullptr);
        sampler.GetSubsampled(*result, parameter, c_attributes, true);
        return result;
    }
    template<class... Arguments>
    Collection merged(Arguments... arguments) const
    {
        return ZeCTransformationNode::ComputeSubsampling(leaves, EType::Standard, arguments...);
    }

    std::mt19937 random{71};
    std::vector<Collection> scans;
    std::vector<Collection> accurate;
    Inner root = CbMake<ZeCTransformationNodeInner>();
    ZeCNodeVector leaves;
    const std::vector<CyBoundingSphere> balls{{{0, 0, 0}, 15}, {{20, 5, 0}, 10}};
    const CbMatrix4Rf turn{{0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1}};
};

TEST_F(MergedScans, KeepAllSurfelsInOrderWhereTheCellSizeIsZero)
{
    for (const CbMatrix4Rf* more : {static_cast<const CbMatrix4Rf*>(nullptr), &turn}) {
        const auto expected = CbMake<ZeCSurfelCollectionQMT>();
        forEachScan(scans, more,
                    [&](const auto& s, const CbMatrix4Rf& m) { expected->Append(s, m); });
        ASSERT_EQ(expected->GetNrSurfels(), 500U);
        ExpectSameSurfels(*expected, *merged(0.0F, 1.0F, false, 0.0F, more));
        ExpectSameSurfels(*expected, *merged(balls, -0.0F, 1.0F, true, 99.0F, more));
    }
    leaves.SetInnerNode(nullptr, ZeCNodeVector::itLeaf, c_matIdentityD, 0);
    const auto none = merged(0.0F, 1.0F, false, 0.0F, nullptr);
    EXPECT_EQ(none->GetNrSurfels(), 0U);
    EXPECT_EQ(none->GetAttributeSet(), c_attributes);
    EXPECT_EQ(merged(1.0F, 1.0F, false, 0.0F, nullptr)->GetNrSurfels(), 0U);
}

TEST_F(MergedScans, AreSampledOnTheGridThatIsAskedFor)
{
    const float c_sizes[] = {0.1F, 8, -8, 1e30F, 1e-30F, c_nan};
    for (const float size : c_sizes) {
        SCOPED_TRACE(size);
        ExpectSameSurfels(*sampled(size, 0, 1, 3, nullptr),
                          *merged(size, 3.0F, false, 1.0F, nullptr));
        ExpectSameSurfels(*sampled(size, size / 2, 6.5F, 1, &turn, &balls),
                          *merged(balls, size, 1.0F, true, -1.0F, &turn));
    }
    EXPECT_GT(merged(8.0F, 3.0F, false, 1.0F, nullptr)->GetNrSurfels(), 100U);
    const std::vector<CyBoundingSphere> none;
    EXPECT_EQ(merged(none, 8.0F, 1.0F, false, 0.0F, nullptr)->GetNrSurfels(), 0U);
}

TEST_F(MergedScans, MakeTheModelOfAnInnerNode)
{
    for (const float cellSize : {0.0F, 9.0F}) {
        for (const float ignored : {0.0F, 99.0F}) {
            SCOPED_TRACE(testing::Message() << cellSize << ", " << ignored);
            root->SetModel(nullptr, 7);
            root->CreateModel(false, cellSize, 2, false, ignored);
            const auto model = root->GetModel();
            const auto surfels = model->GetSurfelCollection(EType::Standard);
            ExpectSameSurfels(*merged(cellSize, 2.0F, false, 0.0F, nullptr), *surfels);
            EXPECT_EQ(model->GetSurfelCollection(EType::Accurate), surfels);
            EXPECT_EQ(root->GetModelRevision(), -1);
        }
    }
    const auto expected = CbMake<ZeCSurfelCollectionQMT>();
    forEachScan(accurate, nullptr,
                [&](const auto& s, const CbMatrix4Rf& m) { expected->Append(s, m); });
    root->CreateModel(true, 0, 1, false, 0);
    ExpectSameSurfels(*expected, *root->GetModel()->GetSurfelCollection(EType::Standard));

    const Inner empty = CbMake<ZeCTransformationNodeInner>();
    empty->CreateModel(false, 1, 1, false, 0);
    EXPECT_EQ(empty->GetModel()->GetSurfelCollection(EType::Standard)->GetNrSurfels(), 0U);
    EXPECT_TRUE(empty->GetBoundingBox(c_matIdentityD).IsEmpty());
    EXPECT_TRUE(empty->EmptyLeafs());

    const auto kept = root->FrontLeaf()->GetModel();
    root->FrontLeaf()->CreateModel(false, 1, 1, false, 0);
    EXPECT_EQ(root->FrontLeaf()->GetModel(), kept);
}

TEST_F(MergedScans, AreSampledOn125ShiftedGrids)
{
    const float size = 12.3F;
    const auto expected = CbMake<ZeCSurfelCollectionQMT>();
    const Shifts shifts = ShiftsOf(size);
    for (int i = 0; i < 125; ++i) {
        const float x = shifts[i / 25], y = shifts[i / 5 % 5], z = shifts[i % 5];
        const CbMatrix4Rf there = ShiftBy(x, y, z);
        expected->Append(*sampled(size, size / 2, 6.5F, 4, &there), ShiftBy(-x, -y, -z));
    }
    root->CreateModel(false, size, 4, true, 99);
    const auto surfels = root->GetModel()->GetSurfelCollection(EType::Standard);
    ExpectSameSurfels(*expected, *surfels);
    EXPECT_EQ(surfels->GetAttributeSet(), ZeCSurfelContainer::ESurfelAttributeSet::Complete);

    for (const float none :
         {0.0F, -1.0F, c_nan, c_infinity, -c_infinity, std::numeric_limits<float>::denorm_min()}) {
        root->CreateModel(false, none, 4, true, 0);
        EXPECT_EQ(root->GetModel()->GetSurfelCollection(EType::Standard)->GetNrSurfels(), 0U);
    }
}

TEST_F(MergedScans, KeepTheOldModelWhereAFatherIsSingular)
{
    const auto model = CbMake<ZeCModelQMT>();
    root->SetModel(model, 5);
    root->FrontChild()->SetRelativeTrafo(
        CbMatrix4Rd({1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    EXPECT_THROW(root->CreateModel(false, 1, 1, false, 0), CyExceptionNotInvertible);
    EXPECT_EQ(root->GetModel(), model);
    EXPECT_EQ(root->GetModelRevision(), 5);
}

} // namespace
