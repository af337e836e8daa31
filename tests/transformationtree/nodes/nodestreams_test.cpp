#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "tests/transformationtree/nodes/mappedrecords.h"

#include <bit>
#include <cstring>
#include <limits>
#include <set>

namespace
{

Node makeLike(const ZeCTransformationNode& node)
{
    if (node.IsLeaf()) return CbMake<ZeCTransformationNodeLeaf>();
    return CbMake<ZeCTransformationNodeInner>();
}

// A mapped tree of two levels in which no field has the value of a new node.
class NodeRecords : public testing::Test
{
protected:
    NodeRecords()
    {
        CbMatrix4Rd odd;
        odd[0][1] = std::bit_cast<double>(0x7FF4000000000123U); // a NaN that signals
        odd[0][2] = -0.0;
        odd[3][3] = std::numeric_limits<double>::denorm_min();
        for (const auto& [name, node] : tree.GetNodes()) {
            node->SetRelativeTrafo(odd);
            node->SetDescription(CString(CString::View(CB_TEXT("A\0\xD800"), 3)));
            node->SetNodeRevision(std::numeric_limits<ZeTNodeRevision>::min(), 1);
            node->SetNodeRevision(std::numeric_limits<ZeTNodeRevision>::max(), 2);
            node->SetVisible(true);
            Map(node);
            Map(node->GetModel());
        }
        tree.GetRootInner()->SetModel(tree.GetRoot()->GetModel(), 77);
        tree.GetLeaf("leaf")->SetIsNewEntryScan(true);
    }
    ~NodeRecords() override { ClearMappers(); }

    const Scenario tree{"root*(leaf*, inner*(deep*))"};
};

TEST_F(NodeRecords, LinkNullWhereNothingFitsIsMapped)
{
    const Bytes root = StructureOf(*tree.GetRoot());
    const Bytes inner = StructureOf(*tree["inner"]);
    NodeMapper().ClearMapping();
    ModelMapper().ClearMapping();
    const Inner read = CbMake<ZeCTransformationNodeInner>();
    EXPECT_EQ(ReadStructure(*read, root), 0U);
    EXPECT_EQ(read->GetNrChildren(), 2U);
    EXPECT_FALSE(read->FrontChild());
    EXPECT_FALSE(read->BackChild());
    EXPECT_FALSE(read->GetModel());

    TestAccess::SetFather(*read, tree.GetRootInner());
    EXPECT_EQ(ReadStructure(*read, inner), 0U);
    EXPECT_FALSE(read->GetFather()) << "the old one is gone too";
    TestAccess::SetId(*tree["leaf"], tree.GetRoot()->GetID());
    Map(tree["leaf"]);
    EXPECT_EQ(ReadStructure(*read, inner), 0U);
    EXPECT_FALSE(read->GetFather()) << "a leaf is nobody's father";
    Inner other = CbMake<ZeCTransformationNodeInner>();
    TestAccess::SetId(*other, tree.GetRoot()->GetID());
    Map(other);
    EXPECT_EQ(ReadStructure(*read, inner), 0U);
    EXPECT_TRUE(read->IsChildOf(*other));
    EXPECT_EQ(read->GetNrChildren(), 1U) << "in place of the old ones";
    other = nullptr;
    NodeMapper().ClearMapping();
    EXPECT_FALSE(read->GetFather()) << "the link is weak";
}

TEST_F(NodeRecords, OfUnknownVersionsAreRefused)
{
    const Bytes root = StructureOf(*tree.GetRoot());
    const Bytes leaf = StructureOf(*tree["leaf"]);
    const struct
    {
        const Bytes& bytes;
        std::size_t place;
        std::vector<std::uint32_t> versions;
        const char* file;
        unsigned line;
    } cases[] = {
        {root, 0, {0, 2, 0xFFFFFFFF}, "zectransformationnode", 611},
        {root, root.size() - 48, {0, 2, 0xFFFFFFFF}, "zectransformationnodeinner", 1290},
        {leaf, leaf.size() - 5, {0, 3, 0xFFFFFFFF}, "zectransformationnodeleaf", 516},
    };
    for (const auto& [bytes, place, versions, file, line] : cases) {
        for (const auto version : versions) {
            SCOPED_TRACE(testing::Message() << file << ", version " << version);
            Bytes changed = bytes;
            std::memcpy(&changed[place], &version, sizeof version);
            const Node read = makeLike(*tree[&bytes == &root ? "root" : "leaf"]);
            const CyUniqueID id = read->GetID();
            ExpectThrowsFrom<CbExceptionWrongFileVersion>(file, line,
                                                          [&] { ReadStructure(*read, changed); });
            EXPECT_EQ(read->GetID() == id, place == 0) << "what stands before is read";
        }
    }
    for (const std::uint32_t anyVersion : {0U, 2U}) {
        Bytes changed = leaf;
        std::memcpy(&changed[36], &anyVersion, sizeof anyVersion);
        const Leaf read = CbMake<ZeCTransformationNodeLeaf>();
        EXPECT_EQ(ReadStructure(*read, changed), 0U) << "of the transformation";
        EXPECT_EQ(StructureOf(*read), leaf);
    }
}

TEST_F(NodeRecords, BringBackEveryFieldUpToWhereTheyAreCut)
{
    // The bytes of each field in the record and in that of a new node: version, father, model,
    // version, transformation, description, id, revisions, visibility, version; a leaf's flag, or
    // an inner node's model revision.
    using Fields = std::vector<std::pair<std::size_t, std::size_t>>;
    const Fields fields{{4, 4},   {16, 16}, {16, 16}, {4, 4}, {128, 128}, {10, 4},
                        {16, 16}, {8, 8},   {8, 8},   {1, 1}, {4, 4}};
    for (const char* name : {"root", "leaf"}) {
        const Node node = tree[name];
        const Bytes bytes = StructureOf(*node);
        Fields own = fields;
        own.emplace_back(node->IsLeaf() ? 1 : 8, node->IsLeaf() ? 1 : 8);
        for (std::size_t length = 0; length <= bytes.size(); ++length) {
            SCOPED_TRACE(testing::Message() << length << " bytes of " << name);
            const Node read = makeLike(*node);
            const Bytes fresh = StructureOf(*read);
            const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
            const auto revision = TestAccess::NextGlobalNodeRevision();
            if (length < bytes.size()) {
                ASSERT_THROW(ReadStructure(*read, cut), CbExceptionStream);
            } else {
                ASSERT_EQ(ReadStructure(*read, cut), 0U);
            }
            EXPECT_EQ(TestAccess::NextGlobalNodeRevision(), revision + 1) << "it counts none";
            Bytes expected;
            auto from = bytes.begin();
            auto freshFrom = fresh.begin();
            for (const auto& [inRecord, inFresh] : own) {
                const bool whole = from - bytes.begin() + inRecord <= length;
                expected.insert(expected.end(), whole ? from : freshFrom,
                                whole ? from + inRecord : freshFrom + inFresh);
                from += inRecord;
                freshFrom += inFresh;
            }
            if (!node->IsLeaf()) { // as many children as were read
                const std::size_t start = static_cast<std::size_t>(from - bytes.begin()) + 4;
                const std::size_t children = length < start ? 0 : (length - start) / 16;
                expected.insert(expected.end(), {static_cast<std::uint8_t>(children), 0, 0, 0});
                expected.insert(expected.end(), from + 4, from + 4 + 16 * children);
            }
            ASSERT_EQ(StructureOf(*read), expected);
        }
    }
    Bytes bytes = StructureOf(*tree.GetRoot());
    std::memset(&bytes[bytes.size() - 36], 0xFF, 4);
    const Inner read = CbMake<ZeCTransformationNodeInner>();
    EXPECT_THROW(ReadStructure(*read, bytes), CbExceptionStream) << "2^32-1 children";
    EXPECT_EQ(read->GetNrChildren(), 2U);
}

TEST(AnnouncedNodes, AreMadeAndFoundByTheirIds)
{
    ClearMappers();
    const Leaf leaf = CbMake<ZeCTransformationNodeLeaf>();
    const Inner inner = CbMake<ZeCTransformationNodeInner>();
    const Bytes bytes = Stored([&](auto& stream) {
        NodeMapper().WriteNodeForInstantiation(stream, leaf);
        NodeMapper().WriteNodeForInstantiation(stream, inner);
    });
    EXPECT_EQ(NodeMapper().GetNode(leaf->GetID()), leaf) << "writing maps too";
    Node first;
    Node second;
    ReadFrom(bytes, [&](auto& stream) {
        first = NodeMapper().ReadNodeAndInstantiate(stream);
        second = NodeMapper().ReadNodeAndInstantiate(stream);
    });
    EXPECT_TRUE(first->Is(ZeCTransformationNodeLeaf::RTTI));
    EXPECT_TRUE(second->Is(ZeCTransformationNodeInner::RTTI));
    EXPECT_NE(first, leaf);
    EXPECT_TRUE(first->IsNamed(leaf->GetID()));
    EXPECT_EQ(NodeMapper().GetNode(leaf->GetID()), first) << "in place of the other";

    CbArray<CyUniqueID> ids;
    ids.Append(CyUniqueID());
    NodeMapper().ListMappedModelIDs(ids);
    EXPECT_EQ((std::set<CyUniqueID>{ids.begin(), ids.end()}),
              (std::set<CyUniqueID>{CyUniqueID(), leaf->GetID(), inner->GetID()}));
    const CbWeakPointer<ZeCTransformationNode> watched(first);
    first = nullptr;
    EXPECT_TRUE(watched.Lock()) << "the map holds it";
    NodeMapper().ClearMapping();
    EXPECT_FALSE(watched.Lock());
    EXPECT_EQ(CountMapped(), 0U);

    ClearMappers();
}

TEST(AnnouncedNodes, ThatCanNotBeMadeAreNotMapped)
{
    ClearMappers();
    const auto announced = [](const CString& className, const CyUniqueID& id) {
        return Stored([&](auto& stream) {
            stream << className;
            id.Serialize(stream);
        });
    };
    const auto read = [](const Bytes& bytes) {
        Node node;
        ReadFrom(bytes, [&](auto& s) { node = NodeMapper().ReadNodeAndInstantiate(s); });
        return node;
    };
    for (const auto* name : {CB_TEXT("NobodyKnowsThis"), CB_TEXT("ZeCTransformationNode"),
                             CB_TEXT("CyNode"), CB_TEXT("QMT_DepthImage"), CB_TEXT("")}) {
        EXPECT_THROW((void)read(announced(name, CountingId(1))), CbException)
            << CString(name).ToUtf8();
    }
    const Bytes leaf = announced(CB_TEXT("ZeCTransformationNodeLeaf"), CountingId(1));
    ExpectCutsThrow<CbExceptionStream>(leaf, [&](const Bytes& cut) { (void)read(cut); });
    const Node nil = read(announced(CB_TEXT("ZeCTransformationNodeLeaf"), CyUniqueID()));
    EXPECT_TRUE(nil->GetID().IsNil()) << "made, and found by nobody";
    EXPECT_THROW(Map(Node()), CbException);
    EXPECT_THROW(Map(Model()), CbException);
    EXPECT_EQ(CountMapped(), 0U);
}

} // namespace
