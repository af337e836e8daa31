#include "tests/support/treematrices.h"
#include "tests/transformationtree/goldenfiles.h"
#include "tests/transformationtree/nodes/mappedrecords.h"
#include "transformationtree/models/zecleafnodevector.h"

namespace
{

// Each file is written from objects made here where they can be, and reads into objects that write
// it again.
class GoldenFiles : public testing::Test
{
protected:
    GoldenFiles()
    {
        ReadFrom(Golden("model_1.bin"),
                 [&](auto& stream) { model = ModelMapper().ReadModel(stream); });
        TestAccess::SetId(*root, CountingId(1));
        root->SetDescription(CB_TEXT("Root"));
        root->SetNodeRevision(5, 1);
        root->SetNodeRevision(6, 2);
        for (const unsigned digit : {2U, 3U}) {
            const Leaf child = CbMake<ZeCTransformationNodeLeaf>(model);
            TestAccess::SetId(*child, CountingId(digit));
            LinkByHand(root, child);
            Map(child);
        }
        leaf = CbDynamicPointerCast<ZeCTransformationNodeLeaf>(root->FrontChild());
        leaf->SetDescription(CB_TEXT("a\u00e4"));
        leaf->SetRelativeTrafo(pose);
        leaf->SetIsNewEntryScan(true);
        leaf->SetNodeRevision(3, 1);
        leaf->SetNodeRevision(4, 2);
        Map(root);
    }
    ~GoldenFiles() override { ClearMappers(); }

    template<class Write>
    static void expectWritten(const char* name, const Write& write)
    {
        EXPECT_EQ(HexOf(Stored(write)), HexOf(Golden(name))) << name;
    }

    const CbMatrix4Rd pose = Shift(2.5, -0.0, -1);
    Inner root = CbMake<ZeCTransformationNodeInner>();
    Leaf leaf;
    Model model;
};

TEST_F(GoldenFiles, HoldNodes)
{
    expectWritten("announcement.bin",
                  [&](auto& stream) { NodeMapper().WriteNodeForInstantiation(stream, leaf); });
    for (const auto& [name, node] : {std::pair{"inner_1.bin", Node(root)}, {"leaf_2.bin", leaf}}) {
        expectWritten(name, [&node = node](auto& stream) { node->SerializeStructure(stream); });
        const CbSmartPointer<IObject> made(node->GetRTTI().getCreate()());
        const auto read = CbDynamicPointerCast<ZeCTransformationNode>(made);
        EXPECT_EQ(ReadStructure(*read, Golden(name)), 0U);
        EXPECT_EQ(HexOf(StructureOf(*read)), HexOf(Golden(name)));
    }
}

TEST_F(GoldenFiles, HoldALeafWithoutFlag)
{
    const Leaf read = CbMake<ZeCTransformationNodeLeaf>();
    read->SetIsNewEntryScan(true);
    EXPECT_EQ(ReadStructure(*read, Golden("leaf_1.bin")), 0U);
    EXPECT_TRUE(read->IsNewEntryScan()) << "stays as it was";
    EXPECT_EQ(HexOf(StructureOf(*read)), HexOf(Golden("leaf_2.bin"))) << "else it is the same";
}

TEST_F(GoldenFiles, HoldNodeVectors)
{
    ZeCNodeVector vector; // its revisions can only be read
    ReadRecord(vector, Golden("nodevector_2.bin"));
    EXPECT_EQ(HexOf(RecordOf(vector)), HexOf(Golden("nodevector_2.bin")));
    const auto& elements = vector.GetElements();
    ASSERT_EQ(elements.size(), 2U);
    EXPECT_EQ(elements[0].GetNode(), leaf);
    EXPECT_EQ(elements[0].GetModel(), model);
    EXPECT_THAT(elements[0].GetTrafo(), HasBitsOf(pose));
    EXPECT_THAT(elements[0].GetRevisions(), testing::ElementsAre(3, 4, -1));
    EXPECT_FALSE(elements[1].GetNode());

    expectWritten("nodevector_1.bin", [&](auto& stream) {
        stream.WriteVersion(1);
        TestAccess::WriteVersion1(vector, stream);
    });
    ReadRecord(vector, Golden("nodevector_1.bin"));
    ZeCNodeVector expected;
    expected.AddNode(leaf, pose);
    expected.AddNode(nullptr, c_matIdentityD);
    EXPECT_EQ(RecordOf(vector), RecordOf(expected));
}

TEST_F(GoldenFiles, HoldAModelWithItsCollection)
{
    expectWritten("model_1.bin", [&](auto& stream) { ModelMapper().WriteModel(stream, model); });
    EXPECT_TRUE(model->Is(QMT_DepthImage::RTTI));
    EXPECT_EQ(model->GetID(), CountingId(10));
    EXPECT_EQ(model->GetDescription(), CString(CB_TEXT("scan 1")));
    EXPECT_EQ(model->GetAcquireSequenceNumber(), 12U);
    using EType = ZeCModelQMT::ESurfelCollectionType;
    const auto collection = model->GetSurfelCollection(EType::Standard);
    ASSERT_TRUE(collection);
    EXPECT_EQ(model->GetSurfelCollection(EType::Accurate), collection);
    EXPECT_EQ(HexOf(RecordOf(*collection)), HexOf(Golden("collection_1.bin")));
    EXPECT_EQ(collection->GetNrSurfels(), 2U);
    EXPECT_EQ(collection->GetPositionAccessor()[1].z, -0.25F);
    EXPECT_EQ(collection->GetCurvatureAccessor()[1], 7);
}

TEST_F(GoldenFiles, HoldTheAttributesOfANode)
{
    const auto tooth = CbMake<Tooth>();
    tooth->number = 36;
    leaf->SetAttribute(tooth);
    expectWritten("attributes_1.bin", [&](auto& stream) { leaf->SerializeAttributes(stream); });
    ReadFrom(Golden("attributes_1.bin"), [&](auto& stream) { root->SerializeAttributes(stream); });
    const auto read = root->GetAllAttributes().GetAttribute<Tooth>();
    ASSERT_TRUE(read);
    EXPECT_EQ(read->number, 36);
}

// In the pages a file stands as lines of two-digit bytes, each followed by an explanation:
// ```hex leaf_2.bin
// 01 00 00 00    version
// ```
TEST(TheFormatPages, ShowTheGoldenFiles)
{
    std::size_t count = 0;
    for (const char* page : {"streams", "nodes", "attributes", "models", "vector", "session"}) {
        std::istringstream lines(ContentOf("docs/formats/" + std::string(page) + ".md"));
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind("```hex ", 0) != 0) continue;
            const std::string name = line.substr(7);
            Bytes shown;
            while (std::getline(lines, line) && line != "```") {
                std::istringstream words(line.substr(0, line.find("  ")));
                for (unsigned byte = 0; words >> std::hex >> byte;) {
                    shown.push_back(static_cast<std::uint8_t>(byte));
                }
            }
            EXPECT_EQ(HexOf(shown), HexOf(Golden(name))) << page << ", " << name;
            ++count;
        }
    }
    EXPECT_EQ(count, 17U) << "files";
}

} // namespace
