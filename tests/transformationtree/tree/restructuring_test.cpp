// Merging, copying, normalising and collapsing of random trees, making room in them and removing
// parts of them, beside a naive tree that follows the steps one by one.

#include "platform/base/cbexception.h"
#include "platform/math3d/cbmatrixinternal.h"
#include "tests/support/managerfixture.h"
#include "tests/support/messagerecorder.h"
#include "tests/support/rounds.h"
#include "tests/support/treematrices.h"
#include "tests/transformationtree/tree/naiveutility.h"
#include "transformationtree/attributes/zecbackgroundoptimizationloopcountattribute.h"
#include "transformationtree/tree/zectransformationtreeutility.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <functional>
#include <set>
#include <tuple>

namespace
{

using EWhat = ZeCTransformationNode::EAttributesToCopy;
using Texts = NaiveUtility::Texts;

// A model whose clone function, if it has one, gives nothing.
class OddModel final : public ZeCModelQMT
{
public:
    explicit OddModel(const CbRTTI& type) : type_(type) {}
    [[nodiscard]] const CbRTTI& GetRTTI() const override { return type_; }

private:
    const CbRTTI& type_;
};

const CbRTTI c_uncloned(CB_TEXT("Uncloned"), nullptr, nullptr, &ZeCModelQMT::RTTI);
const CbRTTI c_clonedToNull(
    CB_TEXT("ClonedToNull"), nullptr, [](const IObject&) -> IObject* { return nullptr; },
    &ZeCModelQMT::RTTI);

class Restructuring : public NodeManagerTest
{
protected:
    using Utility = ZeCTransformationTreeUtility;
    using Attribute = ZeCBackgroundOptimizationLoopCountAttribute;
    using Step = std::function<void()>;

    [[nodiscard]] std::size_t number(std::size_t below) { return random_() % below; }

    // Lets a step loose on random trees. Half of them hang in the data manager, under a write lock
    // on the root.
    void onRandomTrees(const Step& step, double tolerance = 0)
    {
        for (int round = 0; round < Rounds(2000) && !HasFailure(); ++round) {
            SCOPED_TRACE(round);
            const bool managed = round % 2 == 0;
            root_ = managed ? manager().CreateRootNode() : manager().CreateInnerNode();
            build(1 + number(60));
            rootModel_ = number(2) == 0 ? CbMake<ZeCModelQMT>() : nullptr;
            if (rootModel_) root_->SetModel(rootModel_, 7);
            if (managed) handle_ = manager().GetWriteHandle(root_);
            EXPECT_EQ(manager().TryLock(), managed);
            EXPECT_TRUE(manager().IsValid());
            naive_ = {};
            naiveRoot_ = naive_.Read(*root_);
            poses_ = poses();
            tell_ = number(2) == 0;
            since_ = TestAccess::NextGlobalNodeRevision();
            step();
            check(tolerance);
            handle_.Release();
            unsetRoot();
            utility_.RemoveSubtree(root_, false);
            EXPECT_EQ(TestAccess::CountIds(manager()), 0U);
            const std::vector<CbWeakPointer<ZeCTransformationNode>> gone(nodes_.begin(),
                                                                         nodes_.end());
            nodes_.clear();
            inner_.clear();
            root_ = nullptr;
            for (const auto& node : gone) EXPECT_FALSE(node.Lock()) << "lives on";
        }
    }
    void build(std::size_t size)
    {
        nodes_ = {root_};
        inner_ = {root_};
        for (unsigned i = 0; i < size; ++i) {
            const auto model = CbMake<ZeCModelQMT>();
            model->SetAcquireSequenceNumber(number(8));
            const Inner father = number(3) == 0 ? inner_.back() : inner_[number(inner_.size())];
            if (number(5) < 3) {
                const Leaf leaf = manager().CreateLeafNode(number(4) != 0 ? model : nullptr);
                leaf->SetIsNewEntryScan(true);
                nodes_.emplace_back(leaf);
                const auto attribute = CbMake<Attribute>();
                attribute->SetOptimizationLoopCount(i);
                nodes_.back()->SetAttribute(attribute);
            } else {
                inner_.push_back(manager().CreateInnerNode());
                if (number(2) == 0) inner_.back()->SetModel(model, 5);
                nodes_.emplace_back(inner_.back());
            }
            nodes_.back()->SetRelativeTrafo(RandomPose(random_));
            nodes_.back()->SetDescription(CString::FromUtf8(std::to_string(i)));
            nodes_.back()->SetVisible(number(2) == 0);
            manager().AppendChild(father, nodes_.back());
        }
    }
    // The leaves' models and poses relative to the root, by what else they keep.
    using Poses = std::map<std::string, std::pair<Model, CbMatrix4Rd>>;
    [[nodiscard]] Poses poses() const
    {
        Poses poses;
        for (const auto& [leaf, toRoot] : root_->Leaves()) {
            const auto attribute = leaf.GetAllAttributes().GetAttribute<Attribute>();
            poses[leaf.GetDescription().ToUtf8() + (leaf.IsVisible() ? "+" : "-") +
                  std::to_string(attribute->GetOptimizationLoopCount())] = {leaf.GetModel(),
                                                                            toRoot};
        }
        return poses;
    }
    // That revisions were renewed as by the steps one by one, and in their order.
    void expectRenewals(const ZeCTransformationNode& top, const NaiveNode& naiveTop) const
    {
        std::map<long, ZeTNodeRevision> renewals; // the revisions by when they were renewed
        collectRenewals(top, naiveTop, renewals);
        const auto isOlder = [](const auto& a, const auto& b) { return a.second < b.second; };
        EXPECT_TRUE(std::is_sorted(renewals.begin(), renewals.end(), isOlder)) << "their order";
    }
    void collectRenewals(const ZeCTransformationNode& node, const NaiveNode& naive,
                         std::map<long, ZeTNodeRevision>& renewals) const
    {
        for (const auto& [mask, when] : {std::pair(1U, naive.renewed), {2U, naive.trafoRenewed}}) {
            const auto revision = node.GetNodeRevision(mask);
            EXPECT_EQ(revision > since_, when != 0) << naive.name << ", mask " << mask;
            if (when != 0) renewals[when] = revision;
        }
        if (node.IsLeaf()) return;
        auto child = static_cast<const ZeCTransformationNodeInner&>(node).BeginChild();
        for (const auto* below : naive.children) collectRenewals(**child++, *below, renewals);
    }
    void check(double tolerance)
    {
        ASSERT_EQ(Describe(*root_), NaiveUtility::Text(naiveRoot_));
        expectRenewals(*root_, *naiveRoot_);
        Texts messages = naive_.always;
        if (tell_) messages.insert(messages.end(), naive_.posted.begin(), naive_.posted.end());
        EXPECT_EQ(recorder_.Take(), messages);
        const auto now = poses();
        EXPECT_EQ(now.size(), poses_.size());
        for (const auto& [name, leaf] : poses_) {
            ASSERT_TRUE(now.contains(name)) << name;
            EXPECT_EQ(now.at(name).first, leaf.first) << name;
            EXPECT_THAT(now.at(name).second, IsNear(leaf.second, tolerance)) << name;
        }
        const Model model = naiveRoot_->star.empty() ? nullptr : rootModel_;
        EXPECT_EQ(root_->GetModel(), model);
        EXPECT_EQ(root_->GetModelRevision(), model ? 7 : -1);
        EXPECT_TRUE(manager().IsValid());
        std::set<const ZeCTransformationNode*> left;
        for (const auto& [node, trafo] : root_->Nodes()) left.insert(&node);
        EXPECT_EQ(TestAccess::CountIds(manager()), left.size());
        for (const Node& node : nodes_) {
            const bool stays = left.contains(node.Get());
            EXPECT_EQ(manager().GetNodeByID(node->GetID()) == node, stays);
            EXPECT_TRUE(stays || (!node->GetFather() && !manager().IsNodeInDataManager(node)));
        }
    }

    std::mt19937 random_{20240805};
    Utility& utility_ = CbSingleton<Utility>::GetInstance();
    MessageRecorder recorder_;
    Manager::WriteHandle handle_;
    bool tell_ = false;
    Inner root_;
    std::vector<Node> nodes_;
    std::vector<Inner> inner_;
    NaiveUtility naive_;
    NaiveNode* naiveRoot_ = nullptr;
    ZeTNodeRevision since_ = 0; ///< newest revision before the step
    Model rootModel_;
    Poses poses_;
};

TEST_F(Restructuring, MergesAsStepByStep)
{
    const Step merge = [&] {
        const Inner source = inner_[number(inner_.size())];
        const Inner target = inner_[number(inner_.size())];
        bool refused = target->EmptyLeafs() || source->EmptyLeafs();
        for (Inner above = target; above; above = above->GetFather()) {
            refused = refused || above == source;
        }
        const auto model = target->GetModel();
        if (!refused) {
            naive_.Merge(naive_.byNode.at(source.Get()), naive_.byNode.at(target.Get()));
            const std::string name = target->GetDescription().ToUtf8();
            if (model) {
                naive_.posted.push_back("surfels " + name + ' ' +
                                        model->GetID().ToString().ToUtf8() + " 1");
            }
        }
        CbMatrix4Rd rootToTarget = target->GetRelativeTrafo(root_);
        CbMatrixInternal::Invert(rootToTarget);
        utility_.MergeInnerNodes(source, target,
                                 Compose(source->GetRelativeTrafo(root_), rootToTarget), tell_);
    };
    onRandomTrees(merge, 1e-9);
}

TEST_F(Restructuring, NormalisesAsStepByStep)
{
    onRandomTrees([&] {
        const unsigned fanOut = 1 + static_cast<unsigned>(number(6));
        if (fanOut == 1 && root_->GetNrLeafNodes() > 1) {
            EXPECT_THROW(utility_.NormalizeTreeStructure(root_, 1, tell_), CbException);
            return;
        }
        naive_.Normalize(naiveRoot_, fanOut);
        utility_.NormalizeTreeStructure(root_, static_cast<int>(fanOut), tell_);
        for (const auto& [inner, trafo] : root_->InnerNodes()) {
            EXPECT_LE(inner.GetNrChildren(), fanOut);
        }
        for (const auto& [leaf, trafo] : root_->Leaves()) EXPECT_FALSE(leaf.IsNewEntryScan());
        for (const Node& node : nodes_) { // the new leaves have clones
            const auto attribute = node->GetAllAttributes().GetAttribute<Attribute>();
            if (attribute) attribute->SetOptimizationLoopCount(1000);
        }
    });
}

TEST_F(Restructuring, CollapsesAsStepByStep)
{
    onRandomTrees([&] {
        naive_.Collapse(naiveRoot_);
        utility_.CollapseAll(root_, tell_);
    });
}

TEST_F(Restructuring, CopiesAreIndependent)
{
    const auto state = [](const Node& top) {
        std::vector<std::tuple<CyUniqueID, ZeTNodeRevision, CbMatrix4Rd>> all;
        for (const auto& [node, trafo] : top->Nodes()) {
            all.emplace_back(node.GetID(), node.GetNodeRevision(3), node.GetRelativeTrafo());
        }
        return all;
    };
    onRandomTrees([&] {
        const bool withModels = number(2) == 0;
        const bool clone = number(2) == 0;
        const Node source = nodes_[number(nodes_.size())];
        const auto before = state(root_);
        Utility::NodeMap map;
        const Node copy = utility_.CopySubtree(
            source, withModels ? EWhat::PropertiesAndModel : EWhat::Properties, &map, clone);
        EXPECT_FALSE(copy->GetFather() || manager().IsNodeInDataManager(copy));
        expectRenewals(*copy, *naive_.Copy(naive_.byNode.at(source.Get())));
        EXPECT_EQ(map.GetCount(), state(copy).size());
        EXPECT_TRUE(manager().IsValid());
        auto original = source->BeginNode();
        for (const auto& [node, trafo] : copy->Nodes()) {
            const ZeCTransformationNode& from = original.Borrow().node;
            ASSERT_EQ(map.Find(Node(&node))->Get(), &from);
            EXPECT_EQ(node.IsLeaf(), from.IsLeaf());
            EXPECT_EQ(node.GetDescription(), from.GetDescription());
            EXPECT_EQ(node.IsVisible(), from.IsVisible());
            EXPECT_EQ(node.GetRelativeTrafo(), from.GetRelativeTrafo());
            EXPECT_TRUE(node.GetAllAttributes().IsEmpty());
            EXPECT_EQ(manager().GetNodeByID(node.GetID()).Get(), &node);
            const Model model = node.IsLeaf() || withModels ? from.GetModel() : nullptr;
            EXPECT_EQ(node.GetModel() == nullptr, model == nullptr);
            EXPECT_EQ(node.GetModel() == model, !(clone && model && node.IsLeaf()));
            node.SetRelativeTrafo(Shift(1, 2, 3));
            ++original;
        }
        EXPECT_FALSE(original);
        utility_.RemoveSubtree(copy, false);
        EXPECT_EQ(state(root_), before);
    });
    for (const CbRTTI* type : {&c_uncloned, &c_clonedToNull}) {
        const Model model = CbMake<OddModel>(*type);
        const Node leaf = manager().CreateLeafNode(model);
        EXPECT_EQ(utility_.CopySubtree(leaf, EWhat::Properties, nullptr, true)->GetModel(), model);
    }
    EXPECT_FALSE(utility_.CopySubtree(nullptr, EWhat::Properties, nullptr, true));
}

TEST_F(Restructuring, MakesRoomAsStepByStep)
{
    onRandomTrees([&] {
        Inner node = inner_[number(inner_.size())];
        Inner top = node; // or a node above it, but not the root
        while (top->GetFather() && top->GetFather() != root_ && number(3) != 0) {
            top = top->GetFather();
        }
        const unsigned fanOut = 2 + static_cast<unsigned>(number(3));
        if (top == root_ && node->GetNrChildren() >= fanOut) return;
        const auto naiveTop = naive_.byNode.at(top.Get());
        const auto [place, newTop] =
            naive_.MakeRoom(naive_.byNode.at(node.Get()), fanOut, naiveTop);
        const Inner found = utility_.PrepareForNextChild(node, fanOut, top);
        EXPECT_EQ(Describe(*found), NaiveUtility::Text(place));
        EXPECT_EQ(Describe(*top), NaiveUtility::Text(newTop));
    });
}

TEST_F(Restructuring, RemovesAsStepByStep)
{
    onRandomTrees([&] {
        const bool all = number(2) == 0;
        const Node node = all ? nodes_[number(nodes_.size())] : Node(inner_[number(inner_.size())]);
        if (all && node != root_) {
            naive_.Remove(naive_.byNode.at(node.Get()));
            utility_.RemoveSubtree(node, tell_);
        } else {
            const Inner father = InnerOf(node);
            naive_.RemoveChildren(naive_.byNode.at(father.Get()));
            number(2) == 0 ? utility_.RemoveChildren(father, tell_)
                           : utility_.ClearAndRemoveChildren(father, tell_);
        }
        poses_ = poses();
    });
}

} // namespace
