#include "examples/scansession/scans/ply.h"
#include "platform/base/cbcreate.h"
#include "sessionfile/sessionfile.h"
#include "tests/examples/programtest.h"
#include "tests/sessionfile/sessionrecords.h"
#include "tests/transformationtree/attributes/attributerows.h"

using testing::HasSubstr;

namespace
{

class Treeinspect : public ProgramTest
{
protected:
    Treeinspect()
    {
        unsigned digit = 0;
        for (const Node& node :
             {Node(tree.root), Node(tree.cluster), Node(tree.a), Node(tree.b), Node(tree.c)}) {
            TestAccess::SetId(*node, CountingId(++digit));
            node->SetNodeRevision(10 + digit, 1);
            node->SetNodeRevision(20 + digit, 2);
        }
        tree.cluster->SetDescription(CB_TEXT("a \"cluster\""));
        tree.a->SetDescription(CB_TEXT("twin"));
        tree.b->SetDescription(CB_TEXT("twin\n"));
        tree.c->SetDescription(CB_TEXT("twin"));
    }

    [[nodiscard]] std::string file() const { return (Folder() / "a.session").string(); }
    [[nodiscard]] Result run(std::vector<std::string> arguments) const
    {
        sessionfile::SaveSession(file(), tree.root, {});
        return runOnFile(std::move(arguments));
    }
    [[nodiscard]] Result runOnFile(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), file());
        return RunProgram(TREEINSPECT_PROGRAM, arguments);
    }

    const SampleTree tree;
};

} // namespace

TEST_F(Treeinspect, PrintsTheTree)
{
    const auto result = run({});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ("\n" + result.out, R"(
"root" inner 10111213-1415-1617-1819-1a1b1c1d1e1f, revisions 11 21, pose identity
  "a \"cluster\"" inner 20212223-2425-2627-2829-2a2b2c2d2e2f, revisions 12 22, merged surfels 0 of revision 7, pose identity
    - of unknown class "Tooth": 8 bytes
    "twin" leaf 30313233-3435-3637-3839-3a3b3c3d3e3f, revisions 13 23, surfels 2, pose identity
    "twin?" leaf 40414243-4445-4647-4849-4a4b4c4d4e4f, revisions 14 24, surfels 0, pose identity
  "twin" leaf 50515253-5455-5657-5859-5a5b5c5d5e5f, revisions 15 25, surfels 2, pose 0 1 0 0 | -1 0 0 0 | 0 0 1 0 | 5 6 7 1

nodes 5, leaves 3, surfels 4
unknown classes 'Tooth': 1 attributes
)");
    Bytes bytes = SessionOf(tree.root);
    RenameClass(bytes, CB_TEXT("Tooth"), CB_TEXT("\"Mo\nl"));
    RenameClass(bytes, CB_TEXT("ZeCModelQMT"), CB_TEXT("ZeCModel3DX"));
    RepairChecksums(bytes);
    Write("a.session", std::string(bytes.begin(), bytes.end()));
    const auto ply = (Folder() / "a.ply").string();
    const auto unknown = runOnFile({"--ply", ply});
    EXPECT_EQ(unknown.exitCode, 0) << unknown.err;
    EXPECT_EQ(scansession::ReadPly(ply).Find("vertex")->count, 0U);
    for (const auto* part :
         {", merged model of unknown class \"ZeCModel3DX\" of revision 7, pose identity\n"
          "    - of unknown class \"\\\"Mo?l\": 8 bytes\n",
          ", revisions 15 25, model of unknown class \"ZeCModel3DX\", pose 0",
          ", surfels 0\nunknown classes '\"Mo?l', 'ZeCModel3DX': 2 models, which have no surfels "
          "here; 1 attributes\n"}) {
        EXPECT_THAT(unknown.out, HasSubstr(part));
    }
}

TEST_F(Treeinspect, PrintsAttributes)
{
    tree.cluster->DeleteAttribute(Tooth::RTTI);
    for (const auto& row : AttributeRows()) {
        tree.a->SetAttribute(CbCreate<ZeARTTIAttribute>(row.className));
        tree.b->SetAttribute(CbCreate<ZeARTTIAttribute>(row.className));
        row.fill(*tree.b->GetAllAttributes().GetAttribute(*CbRTTI::Find(row.className)));
    }
    const auto fresh = run({"--node", tree.a->GetID().ToString().ToUtf8()});
    EXPECT_EQ(fresh.out.substr(fresh.out.find('\n')), R"(
  - ZeCAreaPropertiesAttribute: orientation strategy 0
  - ZeCBackgroundOptimizationLoopCountAttribute: 0 loops
  - ZeCRepresentativeAttribute: no voxel
  - ZeCImageAreaDataAttribute: not correlated to "00000000-0000-0000-0000-000000000000", level 0, error 3.40282e+38, pose identity, jaw not relaxed, pose identity, no impression, revisions -1 -1 -1, last GUID "" of revision -1, changed at 0
  - ZeCJawSemanticsAttribute: occlusal 0 0 -1 of 0 directions of revision -1, extraoral 1 0 0 of 0 directions
  - ZeCRegistrationHintsAttribute: no surfels, display mode 0
  - ZeCDisconnectedComponentWarningAttribute: no surfels

nodes 1, leaves 1, surfels 2
)");
    const auto full = run({"--node", tree.b->GetID().ToString().ToUtf8()});
    for (const auto* part :
         {"\n  - ZeCBackgroundOptimizationLoopCountAttribute: 4294967295 loops\n",
          "\n  - ZeCRepresentativeAttribute: voxel -2147483648 -1 2147483647\n",
          ": correlated to \"a\uFFFDz\", level -2147483648, error ",
          "pose -1 0 0 0 | 0 1 0 0 | 0 0 -1 0 | 0 0 0 1, impression, revisions 9223372036854775807 "
          "4294967296 -4294967297, last GUID \"\uFFFD?\" of revision -9223372036854775808, changed "
          "at -9223372036854775807\n",
          " of 4294967298 directions of revision -9223372036854775808, extraoral 0.5 -0.25 1 of 0 ",
          "\n  - ZeCRegistrationHintsAttribute: 1 surfels, display mode 4294967295\n  - "
          "ZeCDisconnectedComponentWarningAttribute: 0 surfels\n"}) {
        EXPECT_THAT(full.out, HasSubstr(part));
    }
}

TEST_F(Treeinspect, ExportsASubtree)
{
    const auto ply = (Folder() / "a.ply").string();
    const auto dot = (Folder() / "a.dot").string();
    EXPECT_EQ(run({"--ply", ply, "--dot", dot}).exitCode, 0);
    const auto whole = scansession::ReadPly(ply);
    const auto& vertex = *whole.Find("vertex");
    ASSERT_EQ(vertex.count, 4U);
    EXPECT_EQ(vertex.Find("z")->values, (std::vector<double>{0, 0, 7, 7}));
    EXPECT_EQ("\n" + Read(dot), R"(
digraph tree {
  node [shape=box];
  n0 [label="root"];
  n1 [label="a \"cluster\""];
  n0 -> n1;
  n2 [label="twin\n2 surfels", shape=ellipse];
  n1 -> n2;
  n3 [label="twin?\n0 surfels", shape=ellipse];
  n1 -> n3;
  n4 [label="twin\n2 surfels", shape=ellipse];
  n0 -> n4;
}
)");
    const auto leaf =
        run({"--node", CountingId(5).ToString().ToUtf8(), "--ply", ply, "--dot", dot});
    EXPECT_THAT(leaf.out, testing::StartsWith("\"twin\" leaf 505"));
    EXPECT_EQ(scansession::ReadPly(ply).Find("vertex")->Find("z")->values,
              (std::vector<double>{0, 0}))
        << "in its own frame";
    EXPECT_THAT(Read(dot), HasSubstr("n0 [label=\"twin\\n"));
}

TEST_F(Treeinspect, EndsWith1ForAnInconsistentFileAnd2ForAnUnreadableOne)
{
    const auto expectError = [](const Result& result, int exitCode, const std::string& reason) {
        EXPECT_EQ(result.exitCode, exitCode);
        ExpectOneLine(result, "treeinspect: ", reason);
        EXPECT_EQ(result.out, "");
    };
    expectError(runOnFile({}), 2, "a.session: no such file");
    Records records(tree);
    const auto write = [&](const Bytes& bytes) {
        Write("a.session", std::string(bytes.begin(), bytes.end()));
    };
    Bytes bytes = records.Join();
    bytes.back() ^= 1;
    write(bytes);
    expectError(runOnFile({}), 2, "a.session: session: section model 2 is damaged");
    records.structure.back() = records.structure.front();
    write(records.Join());
    expectError(runOnFile({}), 1, "a.session: structure, record 5, byte ");

    expectError(run({"--node", "twin"}), 2, "--node \"twin\": 2 nodes are described so");
    expectError(run({"--node", "none"}), 2, "\"none\": no node has this id or description");
    expectError(run({"--elephants"}), 2, "--help");
    for (const char* option : {"--dot", "--ply"}) {
        EXPECT_THAT(run({option, Folder().string()}).err, HasSubstr("cannot be written"));
        EXPECT_THAT(run({option, (Folder() / "no/b").string()}).err, HasSubstr("cannot be writ"));
        expectError(run({option, file()}), 2, "a.session: is the session file itself");
    }
    const auto both = (Folder() / "both").string();
    expectError(run({"--ply", both, "--dot", (Folder() / "./both").string()}), 2,
                "both: is named by --ply and --dot");
    EXPECT_FALSE(std::filesystem::exists(both));
    EXPECT_EQ(run({"--help"}).exitCode, 0);
    for (const auto* program : {TREEINSPECT_PROGRAM, SCANSESSION_PROGRAM}) {
        const std::string name = std::filesystem::path(program).stem().string();
        EXPECT_EQ(RunProgram(program, {"--version"}).out, name + " " TREE_VERSION "\n");
        if (!std::filesystem::exists("/dev/full")) continue;
        const auto result = RunProgram(program, {"--help"}, "/dev/full");
        EXPECT_EQ(result.exitCode, 2);
        ExpectOneLine(result, "", "output cannot be written");
    }
}
