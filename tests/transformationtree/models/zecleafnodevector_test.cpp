#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/support/treematrices.h"
#include "tests/transformationtree/nodes/mappedrecords.h"
#include "transformationtree/models/zecleafnodevector.h"

namespace
{

using testing::Each;
using testing::ElementsAre;

// Derived from a depth image, so another class.
class CorrectedImage : public QMT_DepthImage
{
public:
    static const CbRTTI RTTI;
    const CbRTTI& GetRTTI() const override { return RTTI; }

protected:
    ~CorrectedImage() override = default;
};
const CbRTTI CorrectedImage::RTTI(CB_TEXT("CorrectedImage"), nullptr, nullptr,
                                  &QMT_DepthImage::RTTI);

std::string namesOf(const ZeCNodeVector& vector)
{
    std::string names;
    for (const auto& element : vector.GetElements()) {
        const auto& node = element.GetNode();
        names += (node ? node->GetDescription().ToUtf8() : "null") + " ";
    }
    return names;
}

class NodeVectors : public testing::Test
{
protected:
    NodeVectors()
    {
        std::mt19937 random(1);
        for (const auto& [name, node] : tree.GetNodes()) {
            node->SetRelativeTrafo(RandomPose(random));
            Map(node);
        }
    }
    ~NodeVectors() override { ClearMappers(); }

    const Scenario tree{"root*(cluster*(a*, b), inner(c*, null))"};
    const Node root = tree.GetRoot();
    const ZeCNodeVector filled{root, ZeCNodeVector::itNode, Shift(1, 2, 3), 7};
};

TEST_F(NodeVectors, HoldTheNodesOfAKindInPreOrder)
{
    const struct
    {
        Node top;
        int type;
        const char* expected;
    } cases[] = {
        {root, ZeCNodeVector::itCachedLeaf, "cluster c "},
        {root, ZeCNodeVector::itLeaf, "a b c "},
        {root, ZeCNodeVector::itNode, "root cluster a b inner c "},
        {tree["a"], ZeCNodeVector::itCachedLeaf, "a "},
        {root, 3, ""},
        {nullptr, ZeCNodeVector::itNode, ""},
    };
    for (const auto& [top, type, expected] : cases) {
        SCOPED_TRACE(testing::Message() << "type " << type << ", expected " << expected);
        ZeCNodeVector vector = filled;
        vector.SetInnerNode(top, static_cast<ZeCNodeVector::IteratorType>(type), c_matIdentityD, 0);
        EXPECT_EQ(namesOf(vector), expected);
        for (const auto& element : vector.GetElements()) {
            EXPECT_EQ(element.GetModel(), element.GetNode()->GetModel());
            EXPECT_THAT(element.GetRevisions(), Each(-1));
        }
    }
}

TEST_F(NodeVectors, ApplyTheMatrixAfterTheNodesTransformation)
{
    std::mt19937 random(2);
    const CbMatrix4Rd matrix = RandomPose(random);
    const auto toRoot = [&](const char* name) { return tree[name]->GetRelativeTrafo(); };
    const ZeCNodeVector vector(root, ZeCNodeVector::itNode, matrix, 0);
    const auto& elements = vector.GetElements();
    EXPECT_THAT(elements[0].GetTrafo(), HasBitsOf(ProductByHand(c_matIdentityD, matrix)));
    EXPECT_THAT(elements[1].GetTrafo(), HasBitsOf(ProductByHand(toRoot("cluster"), matrix)));
    const CbMatrix4Rd a = ProductByHand(toRoot("a"), toRoot("cluster"));
    EXPECT_THAT(elements[2].GetTrafo(), HasBitsOf(ProductByHand(a, matrix)));
}

TEST_F(NodeVectors, TakeTheSubtreeRevisionsThatAreAskedFor)
{
    tree["a"]->SetNodeRevision(1000000, 1);
    tree["b"]->SetNodeRevision(2000000, 2);
    for (const unsigned mask : {0U, 1U, 2U, 4U, 5U, 7U, 8U, 15U}) {
        SCOPED_TRACE(mask);
        const ZeCNodeVector vector(root, ZeCNodeVector::itNode, c_matIdentityD, mask);
        const auto of = [&](unsigned bit, ZeTNodeRevision revision) {
            return (mask & bit) != 0 ? revision : -1;
        };
        EXPECT_THAT(vector.GetElements()[1].GetRevisions(),
                    ElementsAre(of(1, 1000000), of(2, 2000000), -1));
        for (const auto& element : vector.GetElements()) {
            const auto newest = [&](unsigned bit) {
                return of(bit, element.GetNode()->GetNodeRevisionSubtree(bit));
            };
            EXPECT_THAT(element.GetRevisions(), ElementsAre(newest(1), newest(2), newest(4)));
        }
    }
    // The entries of null and of a node with another father take no one else's place.
    const Scenario other("root(x(null, a), y(b))");
    other["a"]->SetNodeRevision(5000000, 2);
    other["b"]->SetNodeRevision(4000000, 1);
    TestAccess::Children(*other.GetInner("y")).Append({other["a"]});
    const ZeCNodeVector all(other.GetRoot(), ZeCNodeVector::itNode, c_matIdentityD, 3);
    ASSERT_EQ(namesOf(all), "root x a y b a ");
    for (const auto& element : all.GetElements()) {
        const auto& node = element.GetNode();
        EXPECT_THAT(element.GetRevisions(), ElementsAre(node->GetNodeRevisionSubtree(1),
                                                        node->GetNodeRevisionSubtree(2), -1));
    }
}

TEST_F(NodeVectors, StayAsTheyWereWhereAFatherIsSingular)
{
    ZeCNodeVector vector;
    vector.AddNode(tree["c"], Shift(1, 0, 0));
    vector.AddNode(nullptr, Shift(2, 0, 0));
    const Bytes before = RecordOf(vector);
    CbMatrix4Rd flat;
    flat[2][2] = 0;
    tree["inner"]->SetRelativeTrafo(flat);
    EXPECT_THROW(vector.SetInnerNode(root, ZeCNodeVector::itLeaf, c_matIdentityD, 0),
                 CyExceptionNotInvertible);
    EXPECT_EQ(namesOf(vector), "c null ");
    EXPECT_EQ(RecordOf(vector), before);
    EXPECT_FALSE(vector.GetElements()[1].GetModel());
    EXPECT_THAT(vector.GetElements()[0].GetTrafo(), HasBitsOf(Shift(1, 0, 0)));
}

TEST_F(NodeVectors, ListTheModelsThatAreExactlyDepthImages)
{
    const auto first = CbMake<QMT_DepthImage>();
    const auto second = CbMake<QMT_DepthImage>();
    ZeCNodeVector vector;
    for (const Model& model : {Model(second), Model(CbMake<CorrectedImage>()), Model(),
                               Model(first), Model(CbMake<ZeCModelQMT>()), Model(second)}) {
        vector.AddNode(CbMake<ZeCTransformationNodeLeaf>(model), c_matIdentityD);
    }
    EXPECT_THAT(vector.GetDepthImageVector(), ElementsAre(second, first, second));
}

TEST_F(NodeVectors, CloneAsObjectsOfTheirClass)
{
    const CbSmartPointer<IObject> clone(ZeCNodeVector::RTTI.getClone()(filled));
    const auto copy = CbDynamicPointerCast<ZeCNodeVector>(clone);
    ASSERT_TRUE(copy && copy->Is(ZeCNodeVector::RTTI));
    EXPECT_EQ(RecordOf(*copy), RecordOf(filled));
    copy->AddNode(root, c_matIdentityD);
    EXPECT_EQ(copy->GetElements().size(), filled.GetElements().size() + 1);
    EXPECT_THROW((void)ZeCNodeVector::CloneByFactory(*root), std::bad_cast);
    EXPECT_TRUE(CbSmartPointer<IObject>(CbRTTI::getCreate(CB_TEXT("ZeCNodeVector"))()));
}

TEST_F(NodeVectors, ComeBackWithWhatTheirNodesHaveNow)
{
    const auto collection = CbMake<ZeCSurfelCollectionQMT>();
    const Model model = CbMake<ZeCModelQMT>(collection, nullptr);
    tree.GetRootInner()->SetModel(model, -1);
    ZeCNodeVector vector;
    vector.AddNode(tree["c"], c_matIdentityD);
    EXPECT_EQ(ReadRecord(vector, RecordOf(filled)), 0U);
    EXPECT_EQ(RecordOf(vector), RecordOf(filled));
    EXPECT_EQ(vector.GetElements()[0].GetModel(), model);
    EXPECT_EQ(vector.GetElements()[0].GetSurfelCollection(), collection);

    NodeMapper().ClearMapping();
    Map(tree["b"]);
    EXPECT_EQ(ReadRecord(vector, RecordOf(filled)), 0U);
    EXPECT_EQ(namesOf(vector), "null null null b null null ");
    EXPECT_FALSE(vector.GetElements()[0].GetModel());
    EXPECT_FALSE(vector.GetElements()[0].GetSurfelCollection());
}

TEST_F(NodeVectors, ReadAsManyRevisionsAsThereAreUpToThree)
{
    for (std::int64_t count = 0; count <= 4; ++count) {
        SCOPED_TRACE(count);
        const Bytes bytes = Stored([&](auto& stream) {
            stream << std::uint32_t{2} << std::uint32_t{1};
            NodeMapper().WriteNodeByReference(stream, root);
            stream << std::uint32_t{99}; // of the transformation, never looked at
            stream.WriteBuffer(c_matIdentityD.data(), 128);
            stream << static_cast<std::uint32_t>(count);
            for (std::int64_t i = 0; i < count; ++i) stream << 10 + i;
        });
        ZeCNodeVector vector = filled;
        EXPECT_EQ(ReadRecord(vector, bytes), count > 3 ? 8U : 0U) << "no more is passed over";
        const auto of = [&](std::int64_t slot) { return slot < count ? 10 + slot : -1; };
        EXPECT_THAT(vector.GetElements().front().GetRevisions(), ElementsAre(of(0), of(1), of(2)));
    }
}

TEST_F(NodeVectors, CutShortAnywhereKeepTheElementsThatWereRead)
{
    const Bytes whole = RecordOf(filled);
    const Bytes version1 = Stored([&](auto& stream) {
        stream.WriteVersion(1);
        TestAccess::WriteVersion1(filled, stream);
    });
    for (const auto& [bytes, perElement] : {std::pair{whole, 176U}, {version1, 148U}}) {
        ASSERT_EQ(bytes.size(), 8 + 6 * perElement);
        ZeCNodeVector vector;
        const auto expectSize = [&, each = perElement](std::size_t length) {
            ASSERT_EQ(vector.GetElements().size(), length < 8 ? 0 : (length - 8) / each);
        };
        ExpectCutsThrow<CbExceptionStream>(
            bytes,
            [&](const Bytes& cut) {
                vector.AddNode(root, c_matIdentityD);
                ReadRecord(vector, cut);
            },
            expectSize, 4);
    }
    Bytes hostile = whole;
    std::fill_n(hostile.begin() + 4, 4, std::uint8_t{0xFF});
    ZeCNodeVector vector;
    EXPECT_THROW(ReadRecord(vector, hostile), CbExceptionStream) << "2^32-1 elements";
    EXPECT_EQ(vector.GetElements().size(), 6U);
}

TEST_F(NodeVectors, OfUnknownVersionsAreRefusedAndChangeNothing)
{
    for (const std::uint32_t version : {0U, 3U, 0xFFFFFFFFU}) {
        ZeCNodeVector vector = filled;
        ExpectThrowsFrom<CbExceptionWrongFileVersion>("zecleafnodevector", 111, [&] {
            ReadRecord(vector,
                       Stored([&](auto& stream) { stream << version << std::uint32_t{0}; }));
        });
        EXPECT_EQ(RecordOf(vector), RecordOf(filled)) << version;
    }
    ZeCNodeVector vector = filled;
    EXPECT_THROW(ReadRecord(vector, {2, 0, 0}), CbExceptionStream);
    EXPECT_EQ(RecordOf(vector), RecordOf(filled)) << "a cut version";
}

} // namespace
