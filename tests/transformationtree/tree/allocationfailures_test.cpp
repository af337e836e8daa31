// Edits are all or nothing: each allocation that an edit makes fails once.

#include "platform/datacontainer/sampling/zecgridsampler.h"
#include "platform/messages/cymessagedispatcher.h"
#include "tests/support/failingallocations.h"
#include "tests/support/managerfixture.h"
#include "transformationtree/attributes/zecrepresentativeattribute.h"
#include "transformationtree/manager/zectransformationnodemanager_unittest.h"
#include "transformationtree/tree/zectransformationtree.h"
#include "transformationtree/tree/zectransformationtreeutility.h"

#include <functional>
#include <memory>
#include <new>
#include <optional>

namespace
{

using Verb = std::function<void()>;

// Whether a verb does what it does with so many allocations.
bool isDone(const Verb& verb, long allocations)
{
    FailAllocationsAfter(allocations);
    try {
        verb();
    } catch (const std::bad_alloc&) {
        FailAllocationsAfter(-1);
        EXPECT_LT(allocations, 1000) << "it never ends";
        return allocations >= 1000;
    }
    FailAllocationsAfter(-1);
    return true;
}

class WithoutMemory : public NodeManagerTest
{
protected:
    // A managed tree and a loose one, with places that exchanged nodes have left.
    void build()
    {
        tree.emplace("root(a(b(c, d()), e), f(g))", Scenario::EBuilder::Manager);
        loose.emplace("top(x(y), z)", Scenario::EBuilder::Manager);
        manager().ExchangeChild(tree->GetInner("f"), (*tree)["g"], (*tree)["c"]);
        manager().SetRootNode(tree->GetRootInner());
    }

    // All that an edit could change.
    [[nodiscard]] std::string describe() const
    {
        std::string text = Describe(*tree->GetRoot()) + Describe(*loose->GetRoot());
        text += " root " + std::to_string(manager().GetRootNode() == tree->GetRoot());
        text += " ids " + std::to_string(TestAccess::CountIds(manager()));
        text += " messages " + std::to_string(dispatcher.GetNrQueuedMessages());
        for (const Scenario* scenario : {&*tree, &*loose}) {
            for (const auto& [name, at] : scenario->GetNodes()) {
                const auto parent = at->GetParent();
                text += ' ' + name + (parent ? parent->GetName().ToUtf8() : "") + ' ' +
                        std::to_string(at->GetNodeRevision(1)) + ',' +
                        std::to_string(at->GetNodeRevision(2)) +
                        (manager().GetNodeByID(at->GetID()) ? "+" : "-") +
                        (at->GetAllAttributes().IsEmpty() ? "" : "a");
            }
        }
        return text;
    }

    void expectAllOrNothing(const Verb& prepare, const Verb& edit)
    {
        bool done = false;
        for (long allocations = 0; !done; ++allocations) {
            SCOPED_TRACE(allocations);
            build();
            // A thread of its own, which has had no handle yet.
            std::thread([&] {
                prepare();
                const std::string before = describe();
                done = isDone(edit, allocations);
                EXPECT_EQ(describe() == before, !done) << before << '\n' << describe();
                handle.Release();
            }).join();
            unsetRoot();
            tree.reset();
            loose.reset();
            dispatcher.DispatchMessages();
            DestroySingleton<Manager>();
            ASSERT_TRUE(manager().SetDataManager(dataManager, dataNode));
        }
    }

    [[nodiscard]] Inner inner(const std::string& name) const { return tree->GetInner(name); }
    [[nodiscard]] Inner top() const { return loose->GetRootInner(); }
    [[nodiscard]] Node node(const std::string& name) const { return (*tree)[name]; }
    [[nodiscard]] Node looseNode(const std::string& name) const { return (*loose)[name]; }

    std::optional<Scenario> tree;
    std::optional<Scenario> loose;
    Manager::WriteHandle handle;
    CyMessageDispatcher& dispatcher = CyMessageDispatcher::GetInstance();
    const CyMessageSubscription subscription =
        dispatcher.Subscribe(CyMessage::RTTI, [](const CyMessage&) {});
};

TEST_F(WithoutMemory, EditsChangeNothing)
{
    const Verb unset = [] { unsetRoot(); };
    const Verb lock = [&] {
        handle = manager().GetWriteHandle(node("root"));
        EXPECT_TRUE(manager().TryLock());
    };
    const Verb forget = [&] { manager().DeleteNode(top()); };
    const Verb makeRoomAbove = [&] { manager().RemoveChild(inner("a"), node("e")); };
    const Verb leaveAPlace = [&] {
        manager().MoveNode(inner("d"), node("e"), nullptr);
        manager().AppendChild(inner("d"), manager().CreateLeafNode(nullptr));
        manager().ExchangeChild(inner("root"), node("a"), node("b"));
    };
    const Verb mark = [&] { node("root")->SetAttribute(CbMake<ZeCRepresentativeAttribute>()); };
    auto& utility = CbSingleton<ZeCTransformationTreeUtility>::GetInstance();
    const auto makeRoom = [&](const char* at, const char* top) {
        return [&, at, top] {
            Inner topNode = inner(top);
            EXPECT_TRUE(utility.PrepareForNextChild(inner(at), 2, topNode));
        };
    };
    const auto copy = [&] {
        ZeCTransformationTreeUtility::NodeMap map;
        const auto all = ZeCTransformationNode::EAttributesToCopy::PropertiesAndModel;
        (void)utility.CopySubtree(node("root"), all, &map, true);
    };
    const struct
    {
        const char* name;
        Verb edit;
        Verb prepare = [] {};
    } rows[] = {
        {"create leaf", [&] { (void)manager().CreateLeafNode(nullptr); }},
        {"create root", [&] { manager().CreateRootNode(); }, unset},
        {"set root", [&] { manager().SetRootNode(top()); }, unset},
        {"unset root", [&] { manager().UnsetRootNode(); }, lock},
        {"append", [&] { manager().AppendChild(inner("d"), top()); }},
        {"remove", [&] { manager().RemoveChild(inner("root"), node("a")); }},
        {"replace", [&] { manager().ReplaceChild(inner("root"), node("a"), top()); }},
        {"replace by own", [&] { manager().ReplaceChild(inner("f"), node("c"), node("b")); }},
        {"replace outside", [&] { manager().ReplaceChild(top(), looseNode("x"), node("a")); }},
        {"exchange", [&] { manager().ExchangeChild(inner("root"), node("a"), top()); }},
        {"exchange by own", [&] { manager().ExchangeChild(inner("root"), node("a"), node("b")); }},
        {"move within", [&] { manager().MoveNode(inner("f"), node("b"), node("c")); }},
        {"move in", [&] { manager().MoveNode(inner("d"), looseNode("x"), nullptr); }},
        {"move out", [&] { manager().MoveNode(top(), node("a"), looseNode("x")); }},
        {"register", [&] { manager().AddSubtreeToDataManager(top()); }, forget},
        {"add", [&] { utility.CreateLeaf(inner("d"), CbMake<ZeCModelQMT>(), &c_matIdentityD); }},
        {"replace a leaf", [&] { utility.CreateLeafAndReplace(tree->GetLeaf("e"), nullptr); }},
        {"make room above", makeRoom("b", "root"), makeRoomAbove},
        {"make room by a new top", makeRoom("b", "a")},
        {"make room below a place that another node had", makeRoom("d", "d"), leaveAPlace},
        {"remove a subtree", [&] { utility.RemoveSubtree(node("a"), true); }},
        {"remove children", [&] { utility.RemoveChildren(inner("root"), true); }},
        {"remove loose children", [&] { utility.RemoveChildren(top(), false); }},
        {"clear", [&] { utility.ClearAndRemoveChildren(inner("root"), true); }, mark},
        {"merge", [&] { utility.MergeInnerNodes(inner("b"), inner("f"), c_matIdentityD, true); }},
        {"copy", copy},
        {"normalise", [&] { utility.NormalizeTreeStructure(inner("root"), 2, true); }},
        {"normalise outside", [&] { utility.NormalizeTreeStructure(top(), 2, true); }},
        {"collapse", [&] { utility.CollapseAll(inner("root"), true); }, lock},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        expectAllOrNothing(row.prepare, row.edit);
    }
}

TEST_F(WithoutMemory, TheSelfTestEndsAndLeavesNoNodeBehind)
{
    bool passed = false;
    for (long allocations = 0; !passed; ++allocations) {
        SCOPED_TRACE(allocations);
        EXPECT_TRUE(manager().UnsetDataManager());
        ZeCTransformationNodeManager_UnitTest test(dataManager, dataNode);
        std::thread([&] {
            // There may be no memory even for the line that tells of a failure.
            passed = isDone([&] { test.Run(); }, allocations) && !test.HasFailed();
        }).join();
        ASSERT_LT(allocations, 1000);
        unsetRoot();
        EXPECT_EQ(TestAccess::CountIds(manager()), 0);
    }
}

class ClusterTree final : public ZeCTransformationTree
{
public:
    [[nodiscard]] Inner GetModelNode() override { return nullptr; }
    void Clear() override {}
};

TEST_F(WithoutMemory, ANewClusterLeavesNothingAndUsesNoName)
{
    const auto clusters = CbMake<ClusterTree>();
    Inner cluster;
    expectAllOrNothing([] {}, [&] { cluster = clusters->CreateNewCluster(inner("d"), false); });
    EXPECT_EQ(cluster->GetDescription(), CString(CB_TEXT("Cluster 0")));
}

TEST_F(WithoutMemory, ATreeObjectLeavesItsNodesBehind)
{
    build();
    auto clusters = CbMake<ClusterTree>();
    clusters->SetRoot(tree->GetRootInner());
    const std::string before = describe();
    FailAllocationsAfter(0);
    clusters = nullptr;
    FailAllocationsAfter(-1);
    EXPECT_EQ(describe(), before);
}

TEST(ManagersWithoutMemory, GoAndLeaveTheRootWhereItIs)
{
    using Manager = ZeCTransformationNodeManager;
    auto& manager = CbSingleton<Manager>::GetInstance();
    auto dataManager = std::make_unique<CyDataManager>();
    ASSERT_TRUE(manager.SetDataManager(*dataManager, dataManager->GetTopNode()));
    const Inner root = manager.CreateRootNode();
    manager.AppendChild(root, manager.CreateLeafNode(nullptr));
    const auto lock = manager.GetSingleReadHandleLocked(root);
    std::thread([&] { // which has had no handle yet
        FailAllocationsAfter(0);
        DestroySingleton<Manager>();
        EXPECT_EQ(root->GetParent(), dataManager->GetTopNode());
        dataManager.reset();
        FailAllocationsAfter(-1);
    })
        .join();
    EXPECT_FALSE(root->GetDataManager());
    EXPECT_EQ(root->GetNrChildren(), 1U);
}

TEST(AGridSampler, KeepsWhatItHasAndWritesAllOrNothingWhereMemoryEnds)
{
    constexpr auto c_all = ZeCSurfelContainer::ESurfelAttributeSet::Complete;
    constexpr std::uint32_t c_count = 9000; // two surfels in each cell
    const auto surfels = CbMake<ZeCSurfelCollectionQMT>(c_count, true, c_all, nullptr);
    for (std::uint32_t i = 0; i < c_count; ++i) {
        surfels->GetPositionAccessor()[i].x = static_cast<float>(i / 2);
        surfels->GetTissueTypeAccessor()[i] = i % 2;
    }
    // The numbers of the cells, or zeros.
    const auto expectWritten = [](const ZeCSurfelCollectionQMT& result, bool written) {
        for (std::uint32_t i = 0; i < result.GetNrSurfels(); ++i) {
            ASSERT_EQ(result.GetPositionAccessor()[i].x, written ? static_cast<float>(i) : 0.0F);
        }
    };
    for (const float gain : {1.0F, 2.0F}) {
        std::unique_ptr<ZeCGridSampler> sampler;
        const auto add = [&] {
            sampler.reset();
            sampler = std::make_unique<ZeCGridSampler>(1.0F, 0.0F, gain);
            sampler->AddSurfels(*surfels, nullptr);
        };
        CbSmartPointer<ZeCSurfelCollectionQMT> result;
        bool done = false;
        for (long allocations = 0; !done; ++allocations) {
            done = isDone(add, allocations);
            const std::uint32_t count = sampler ? sampler->GetNrOfUsedCells() : 0;
            EXPECT_EQ(count == c_count / 2, done);
            result = CbMake<ZeCSurfelCollectionQMT>(count, true, c_all, nullptr);
            if (!sampler) continue;
            sampler->GetSubsampled(*result, 1, {}, false);
            expectWritten(*result, true);
        }
        result = CbMake<ZeCSurfelCollectionQMT>(c_count / 2, true, c_all, nullptr);
        const auto take = [&] { sampler->GetSubsampled(*result, 1, {}, true); };
        EXPECT_FALSE(isDone(take, 0));
        done = false;
        for (long allocations = 0; !done; ++allocations) {
            done = isDone(take, allocations);
            EXPECT_EQ(sampler->GetNrOfUsedCells(), done ? 0 : c_count / 2);
            expectWritten(*result, done);
        }
    }
}

} // namespace
