#include "platform/base/cbexceptionunknownextension.h"
#include "tests/support/managerfixture.h"
#include "tests/support/messagerecorder.h"
#include "tests/support/storedbytes.h"
#include "transformationtree/tree/zectransformationtree.h"

#include <optional>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class ApplicationTree final : public ZeCTransformationTree
{
public:
    [[nodiscard]] Inner GetModelNode() override { return modelNode; }
    void Clear() override {}

    Inner modelNode;
};

std::string NameOf(const CbSmartPointer<const ZeCTransformationNode>& node)
{
    return node ? node->GetDescription().ToUtf8() : "none";
}

class ATransformationTree : public NodeManagerTest
{
protected:
    void use(const std::string& scenario)
    {
        nodes.emplace(scenario, Scenario::EBuilder::Manager);
        tree->SetRoot(nodes->GetRootInner());
        tree->modelNode = nodes->GetInner("model");
    }

    std::optional<Scenario> nodes;
    CbSmartPointer<ApplicationTree> tree = CbMake<ApplicationTree>();
};

TEST_F(ATransformationTree, NamesClustersByACounterThatOnlyGrows)
{
    EXPECT_FALSE(tree->GetRoot());
    EXPECT_FALSE(tree->GetActiveCluster());
    EXPECT_EQ(tree->GetClusterCount(), 0U);
    EXPECT_THROW(tree->NewCluster(false), CbException) << "no model node; uses no name";
    EXPECT_EQ(TestAccess::CountIds(manager()), 0U);

    use("root(model())");
    manager().SetRootNode(tree->GetRoot());
    EXPECT_FALSE(tree->GetActiveCluster()) << "no child";
    const auto since = TestAccess::NextGlobalNodeRevision();
    const auto first = tree->NewCluster(false);
    EXPECT_EQ(RenewalOrder(tree->GetRoot(), since),
              "model Optimizer Collector Clipboard Cluster 0");
    const auto second = tree->CreateNewCluster(tree->modelNode, false);
    const ZeITransformationTree& interface = *tree;
    EXPECT_EQ(interface.GetActiveCluster(), second);
    EXPECT_EQ(interface.GetRoot(), nodes->GetRoot());
    tree->RemoveCluster(second);
    EXPECT_FALSE(manager().GetNodeByID(second->GetID()));
    EXPECT_EQ(tree->GetActiveCluster(), first);
    const auto third = tree->NewCluster(false);
    EXPECT_EQ(Describe(*tree->GetRoot()), "root(model(Cluster 0(Optimizer(), Collector(), "
                                          "Clipboard()), Cluster 2(Optimizer(), Collector(), "
                                          "Clipboard())))");
    EXPECT_TRUE(manager().IsNodeInDataManager(ZeCTransformationTree::GetClipboardNode(third)));

    manager().AppendChild(tree->modelNode, manager().CreateLeafNode(nullptr));
    EXPECT_EQ(tree->GetClusterCount(), 3U) << "every child counts";
    EXPECT_FALSE(tree->GetActiveCluster()) << "a leaf is no cluster";
    tree->SetRoot(nullptr);
    EXPECT_FALSE(tree->GetRoot());
}

TEST(SpecialNodes, AreFoundByTheirPlaceAlone)
{
    using Tree = ZeCTransformationTree;
    // Optimizer, collector and clipboard.
    const std::pair<const char*, const char*> rows[] = {
        {"x()", "none none none"},
        {"x(a())", "a none none"},
        {"x(a(), b())", "a b none"},
        {"x(a(), b(), c(), d())", "a b c"},
        {"x(a, b*, c, d())", "none none none"},
        {"x(null, b(), null)", "none b none"},
    };
    for (const auto& [scenario, names] : rows) {
        const Inner node = Scenario(scenario).GetRootInner();
        EXPECT_EQ(NameOf(Tree::GetOptimizerNode(node)) + ' ' +
                      NameOf(Tree::GetCollectorNode(node)) + ' ' +
                      NameOf(Tree::GetClipboardNode(node)),
                  names)
            << scenario;
    }
    EXPECT_FALSE(ZeCTransformationTree::GetOptimizerNode(nullptr));
    EXPECT_FALSE(ZeCTransformationTree::GetActiveClusterForModel(nullptr));
}

TEST_F(ATransformationTree, FindsClustersByTheirShapeAmongTheChildren)
{
    use("model(good(a(), x, y()), four(b(), x2(), y2(), z2()), other(x3(), y3(), z3()), leaf, "
        "two(c(), x4()), leaf first(d, x5(), y5()), deeper(deep(e(), x6(), y6())), empty())");
    for (const char* name : {"a", "b", "c", "d", "e"}) {
        (*nodes)[name]->SetDescription(CB_TEXT("Optimizer"));
    }
    const Scenario read("model(null, holes(null, f(), g()))");
    ZeITransformationTree::Clusters clusters;
    for (const Inner& node : {tree->modelNode, Inner(), read.GetRootInner(), tree->modelNode}) {
        tree->GetClusterNodes(node, clusters); // which appends
    }
    std::vector<std::string> names;
    for (const auto& cluster : clusters) names.push_back(NameOf(cluster));
    EXPECT_THAT(names, ElementsAre("good", "leaf first", "good", "leaf first"));
}

TEST_F(ATransformationTree, OffersNoExtensions)
{
    EXPECT_EQ(tree->GetExtension("any", false), nullptr);
    EXPECT_EQ(std::as_const(*tree).GetExtension(nullptr, false), nullptr);
    for (const char* name : {"any", static_cast<const char*>(nullptr)}) {
        ExpectThrowsFrom<CbExceptionUnknownExtension>(
            "zectransformationtree", 358, [&] { (void)tree->GetExtension(name, true); });
    }
}

TEST_F(ATransformationTree, PostsMessagesForNewClustersWhereAskedTo)
{
    use("root(model())");
    MessageRecorder recorder;
    tree->NewCluster(true);
    EXPECT_THAT(recorder.Take(),
                ElementsAre("structure Cluster 0 < model 4", "structure Optimizer < Cluster 0 1",
                            "structure Collector < Cluster 0 1",
                            "structure Clipboard < Cluster 0 1"));
    const auto cluster = tree->CreateNewCluster(tree->modelNode, false);
    tree->RemoveCluster(cluster);
    EXPECT_THAT(recorder.Take(), IsEmpty());
}

TEST_F(ATransformationTree, TakesWhatIsBelowAManagedRootAlong)
{
    for (const bool managed : {true, false}) {
        SCOPED_TRACE(managed);
        const auto ids = TestAccess::CountIds(manager());
        use("root(model(), leaf)");
        tree->NewCluster(false);
        const auto root = tree->GetRoot();
        if (managed) manager().SetRootNode(root);
        tree = nullptr;
        EXPECT_EQ(Describe(*root) == "root()", managed);
        EXPECT_EQ(TestAccess::CountIds(manager()) == ids, managed);
        EXPECT_EQ(manager().IsNodeInDataManager(root), managed);
        EXPECT_FALSE((*nodes)["leaf"]->GetDataManager());
        unsetRoot();
        tree = CbMake<ApplicationTree>();
    }
}

TEST_F(ATransformationTree, DoesNotBringANodeManagerBackAtExit)
{
    use("model()");
    manager().SetRootNode(tree->GetRoot());
    auto handle = manager().GetSingleWriteHandleLocked(tree->GetRoot());
    std::thread([&] {
        DestroySingleton<Manager>(); // cannot lock the root, which stays managed
        tree = nullptr;
        EXPECT_FALSE(CbSingleton<Manager>::HasInstance());
    }).join();
    EXPECT_TRUE(dataManager.RemoveNode(handle));
}

} // namespace
