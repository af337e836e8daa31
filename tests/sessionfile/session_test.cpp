#include "tests/sessionfile/sessionrecords.h"
#include "tests/support/failingallocations.h"
#include "tests/support/managerfixture.h"
#include "tests/support/rounds.h"
#include "tests/transformationtree/goldenfiles.h"
#include "transformationtree/transformationtree.h"

#include <functional>
#include <gmock/gmock.h>
#include <random>

using namespace sessionfile;
using EKind = SessionError::EKind;
using testing::HasSubstr;

namespace
{

/// A class whose name stands for another one.
class HiddenModel : public ZeCModelQMT
{
public:
    const CbRTTI& GetRTTI() const override
    {
        static const CbRTTI hidden(CB_TEXT("ZeCModelQMT"), &CreateByFactory, nullptr);
        return hidden;
    }
};

} // namespace

TEST(Session, OfVersion1IsTheGoldenFile)
{
    const Inner root = CbMake<ZeCTransformationNodeInner>();
    TestAccess::SetId(*root, CountingId(1));
    root->SetDescription(CB_TEXT("Root"));
    root->SetNodeRevision(5, 1);
    root->SetNodeRevision(6, 2);
    const Bytes golden = Golden("session_1.bin");
    EXPECT_EQ(SessionOf(root), golden);
    EXPECT_EQ(SessionOf(ReadSession(golden)), golden);
}

TEST(Session, ComesBackFromRecordsInAnyOrder)
{
    const SampleTree tree;
    Records records(tree);
    tree.a->SetAttribute(CbMake<Tooth>());
    records.attributes.push_back(Stored([&](auto& stream) {
        NodeMapper().WriteNodeByReference(stream, tree.a);
        tree.a->SerializeAttributes(stream);
    }));
    std::mt19937 random(21);
    for (int round = 0; round < Rounds(200); ++round) {
        for (auto* const section :
             {&records.announcements, &records.structure, &records.attributes, &records.models}) {
            std::shuffle(section->begin(), section->end(), random);
        }
        ASSERT_EQ(SessionOf(ReadSession(records.Join())), SessionOf(tree.root)) << round;
        ASSERT_EQ(CountMapped(), 0U);
    }
}

TEST(Session, KeepsWhatIsOfUnknownClasses)
{
    const SampleTree tree;
    using Loops = ZeCBackgroundOptimizationLoopCountAttribute;
    tree.cluster->SetAttribute(CbMake<ZeCRepresentativeAttribute>());
    tree.b->SetAttribute(CbMake<Loops>());
    tree.b->SetAttribute(CbMake<Tooth>());
    tree.scan->SetDescription(CB_TEXT("scan"));
    Bytes bytes = SessionOf(tree.root);
    RenameClass(bytes, CB_TEXT("Tooth"), CB_TEXT("Molar"));
    RenameClass(bytes, CB_TEXT("ZeCModelQMT"), CB_TEXT("ZeCModel3DX"));
    RepairChecksums(bytes);
    Bytes nameless = bytes; // as far as it can be told
    const auto scanID = tree.scan->GetID().GetBytes();
    const auto inModel =
        std::find_end(nameless.begin(), nameless.end(), scanID.begin(), scanID.end());
    *(inModel - 4) = 9; // version
    RepairChecksums(nameless);

    for (const Bytes& stored : {bytes, nameless}) {
        auto session = ReadSession(stored);
        EXPECT_EQ(SessionOf(session), stored);
        EXPECT_EQ(session.unknown.CountModels(), 2U);
        EXPECT_EQ(session.unknown.CountAttributes(), 2U);
        EXPECT_THAT(session.unknown.GetClassNames(), testing::ElementsAre("Molar", "ZeCModel3DX"));
        const auto& root = session.root;
        EXPECT_FALSE(root->BeginSurfel());
        const auto leaf = root->FrontLeaf();
        EXPECT_EQ(leaf->GetModel()->GetID(), tree.scan->GetID());
        EXPECT_EQ(leaf->GetModel()->GetDescription().ToUtf8(), stored == bytes ? "scan" : "");

        const auto cluster = CbStaticPointerCast<ZeCTransformationNodeInner>(root->FrontChild());
        cluster->SetModel(CbMake<ZeCModelQMT>(), 8);
        cluster->DeleteAttribute(ZeCRepresentativeAttribute::RTTI);
        (void)TestAccess::Children(*cluster).TakeLast();
        session = ReadSession(SessionOf(session));
        EXPECT_EQ(session.unknown.CountModels(), 1U);
        EXPECT_EQ(session.unknown.CountAttributes(), 1U);
        EXPECT_EQ(session.unknown.GetAttributes(cluster->GetID()).size(), 1U);
    }
}

TEST(Session, KnowsNothingThatWasMappedBefore)
{
    const SampleTree tree;
    Records records(tree);
    records.models.pop_back();
    Map(tree.cluster->GetModel());
    EXPECT_THAT(ErrorOf(records.Join()), HasSubstr("is not in the session"));
    Map(tree.a);
    EXPECT_NO_THROW(SessionOf(tree.root));
}

using ARestoredSession = NodeManagerTest;

TEST_F(ARestoredSession, IsEditedBelowTheManager)
{
    const SampleTree tree;
    const Inner root = ReadSession(SessionOf(tree.root)).root;
    manager().SetRootNode(root);
    const auto lock = manager().GetSingleWriteHandleLocked(root);
    EXPECT_TRUE(manager().IsValid());
    const auto cluster = CbStaticPointerCast<ZeCTransformationNodeInner>(root->FrontChild());
    manager().MoveNode(root, cluster->FrontChild(), nullptr);
    manager().AppendChild(cluster, manager().CreateLeafNode(nullptr));
    EXPECT_TRUE(manager().IsValid());
    EXPECT_EQ(Describe(*root), "root(*(, ), *, *)");
}

TEST(Session, OfAChainOf100000NodesIsRead)
{
    const Inner root = CbMake<ZeCTransformationNodeInner>();
    Inner last = root;
    for (int i = 1; i < 100000; ++i) {
        Inner next = CbMake<ZeCTransformationNodeInner>();
        LinkByHand(last, next);
        last = next;
    }
    const Bytes bytes = SessionOf(root);
    EXPECT_EQ(SessionOf(ReadSession(bytes)), bytes);
}

TEST(Session, IsRefusedWhereItsRecordsAreNoTree)
{
    using Edit = std::function<void(SampleTree&)>;
    using Spoil = std::function<void(Records&)>;
    const Edit no = [](SampleTree&) {};
    const Spoil none = [](Records&) {};
    const auto children = [](const Inner& inner) -> auto& { return TestAccess::Children(*inner); };
    const struct
    {
        const char* reason;
        Edit edit;
        Spoil spoil;
    } cases[] = {
        {"twice", [&](SampleTree& t) { children(t.root).Append({t.c}); }, none},
        {"names another father", [&](SampleTree& t) { children(t.root).Append({t.a}); }, none},
        {"leads to 4 of 5", [&](SampleTree& t) { (void)children(t.root).TakeLast(); }, none},
        {"no inner node is the root",
         [&](SampleTree& t) { TestAccess::SetFather(*t.root, t.cluster); }, none},
        {"no inner node is the root", [](SampleTree& t) { TestAccess::SetFather(*t.c, nullptr); },
         [](Records& r) {
             for (auto* records : {&r.announcements, &r.structure, &r.models}) records->resize(1);
             r.attributes.clear();
             r.nodeCount = 1;
         }},
        {"leads to 2 of 5",
         [&](SampleTree& t) {
             TestAccess::SetFather(*t.cluster, t.cluster);
             children(t.cluster).Append({t.cluster});
             children(t.root).Erase(0);
         },
         none},
        {"two roots", [&](SampleTree& t) { TestAccess::SetFather(*t.a, nullptr); }, none},
        {"second record", no, [](Records& r) { r.structure[0] = r.structure[3]; }},
        {"structure, record 5, byte ", no, [](Records& r) { r.structure[4].pop_back(); }},
        {"bytes behind the last", no, [](Records& r) { r.structure.push_back(r.structure[0]); }},
        {"bytes behind the last", no, [](Records& r) { r.attributes[0].push_back(0); }},
        {"bytes behind the last", no, [](Records& r) { r.announcements[4].push_back(0); }},
        {"as that of", no,
         [](Records& r) {
             std::swap_ranges(r.structure[0].begin(), r.structure[0].begin() + 16,
                              r.structure[2].begin());
         }},
        {"of two nodes", no, [](Records& r) { r.announcements[0] = r.announcements[3]; }},
        {"no inner node of the session", no, [](Records& r) { ++r.structure[0][20]; }},
        {"is not in the session", no, [](Records& r) { ++r.structure[0][36]; }},
        {"is not in the session", no, [](Records& r) { r.models.pop_back(); }},
        {"was not announced", no, [](Records& r) { ++r.structure[1].back(); }},
        {"was not announced", no, [](Records& r) { ++r.structure[1][0]; }},
        {"was not announced", no, [](Records& r) { ++r.attributes[0][0]; }},
        {"no class of nodes: ZeCTrans", no, [](Records& r) { ++r.announcements[0][20]; }},
        {"class name of 16777241", no, [](Records& r) { ++r.announcements[0][3]; }},
        {"no class of models", no,
         [](Records& r) {
             r.models[0] = r.announcements[0];
             r.models[0].resize(1024);
         }},
        {"is not in the session", no,
         [](Records& r) {
             ++r.models[0][4];  // of an unknown class
             ++r.models[0][30]; // its id
         }},
        {"of two models", no,
         [](Records& r) {
             r.models.push_back(r.models[0]);
             ++r.models[0][4];
         }},
        {"too short", no, [](Records& r) { r.models[0].pop_back(); }},
        {"of two models", no, [](Records& r) { r.models.push_back(r.models[0]); }},
        {"models for 5 nodes", no, [](Records& r) { r.models.resize(6, r.models[0]); }},
        {"6 nodes, whose structure", no, [](Records& r) { r.nodeCount = 6; }},
        {"second record", no, [](Records& r) { r.attributes.push_back(r.attributes[0]); }},
    };
    for (const auto& [reason, edit, spoil] : cases) {
        SampleTree tree;
        edit(tree);
        Records records(tree);
        spoil(records);
        const Bytes bytes = records.Join();
        ExpectError(bytes, EKind::Inconsistent, reason);
        EXPECT_EQ(CountMapped(), 0U) << "mapped after " << reason;
        const std::size_t before = AllocatedBytes();
        (void)ErrorOf(bytes);
        EXPECT_EQ(AllocatedBytes(), before) << "leaks after " << reason;
    }
    Records newer{SampleTree()};
    newer.structure[0][16] = 9;
    ExpectError(newer.Join(), EKind::Unreadable, "structure, record 1, byte ");
}

TEST(Session, ThatWouldNotComeBackIsNotWritten)
{
    const std::pair<const char*, std::function<void(SampleTree&)>> cases[] = {
        {"no tree", [](SampleTree& t) { t.root = nullptr; }},
        {"not the root", [](SampleTree& t) { TestAccess::SetFather(*t.root, t.cluster); }},
        {"lists a node", [](SampleTree& t) { TestAccess::Children(*t.root).Append({t.a}); }},
        {"of two nodes", [](SampleTree& t) { TestAccess::Children(*t.root).Append({t.c}); }},
        {"of two nodes", [](SampleTree& t) { TestAccess::SetId(*t.c, t.b->GetID()); }},
        {"node id 0000", [](SampleTree& t) { TestAccess::SetId(*t.c, CyUniqueID()); }},
        {"of two models",
         [](SampleTree& t) {
             const Bytes bytes = Records(t).models[0];
             CyStreamReadBinaryBuffer stream(bytes);
             t.cluster->SetModel(ModelMapper().ReadModel(stream), 7);
         }},
        {"made by its name", [](SampleTree& t) { t.cluster->SetModel(CbMake<HiddenModel>(), 7); }},
    };
    for (const auto& [reason, edit] : cases) {
        SampleTree tree;
        edit(tree);
        CyStreamWriteBinaryBuffer stream;
        ExpectError([&] { WriteSession(stream, tree.root, {}); }, EKind::Unwritable, reason);
        EXPECT_EQ(stream.GetCount(), 0U) << reason;
    }
}
