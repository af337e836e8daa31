// Random operations of the tree utility on a managed tree of about 100 nodes. What must hold after
// each of them is looked up in the tree, the id map and the counts of what lives.

#include "tests/support/managerfixture.h"
#include "tests/support/messagerecorder.h"
#include "tests/support/rounds.h"
#include "transformationtree/tree/zectransformationtreeutility.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <array>
#include <map>
#include <random>
#include <set>

namespace
{

using Utility = ZeCTransformationTreeUtility;

class CountedModel final : public ZeCModelQMT
{
public:
    CountedModel() { ++alive; }
    static inline std::size_t alive = 0;

private:
    ~CountedModel() override { --alive; }
};

class RandomUtilityOperations : public NodeManagerTest
{
protected:
    RandomUtilityOperations()
    {
        handle_ = manager().GetWriteHandle(root_);
        EXPECT_TRUE(manager().TryLock());
    }

    void run(unsigned seed, int steps)
    {
        random_.seed(seed);
        int newTops = 0;
        for (int step = 0; step < steps; ++step) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
            Branch& branch = branches_[number(branches_.size())];
            if (!branch.top) {
                branch.top = manager().CreateInnerNode();
                manager().AppendChild(root_, branch.top);
            }
            const auto top = branch.top->GetID();
            edit(branch);
            newTops += branch.top && branch.top->GetID() != top ? 1 : 0;
            check();
            if (HasFailure()) FAIL();
        }
        EXPECT_GT(newTops, steps / 1000);
    }

private:
    // What stands below the root: each child with a fan-out of its own, which it keeps.
    struct Branch
    {
        unsigned int fanOut;
        Utility::Inner top;
    };

    [[nodiscard]] std::size_t number(std::size_t below)
    {
        return std::uniform_int_distribution<std::size_t>(0, below - 1)(random_);
    }
    template<class Range>
    auto pick(const Range& range)
    {
        auto position = range.begin();
        for (auto i = number(std::size_t(std::ranges::distance(range))); i > 0; --i) ++position;
        return CbSmartPointer(&(*position).node);
    }
    // Notes what goes with a removal: what is at or below a node, or below it only.
    void expectGone(const Utility::Node& top, bool itself)
    {
        for (const auto& [node, trafo] : top->Nodes()) {
            if (itself || &node != top.Get()) gone_.insert(node.GetID());
        }
    }

    void edit(Branch& branch)
    {
        gone_.clear();
        std::size_t messages = 0;
        const bool tell = number(4) != 0;
        const auto kind = number(20);
        if (kind < (known_.size() < 100 ? 15 : 6)) return build(branch);
        const auto inner = pick(branch.top->InnerNodes());
        if (kind < 17) {
            if (branch.top->EmptyLeafs()) return;
            const auto leaf = pick(branch.top->Leaves());
            gone_.insert(leaf->GetID());
            const auto next = utility_.CreateLeafAndReplace(leaf, CbMake<CountedModel>());
            EXPECT_EQ(next->GetRelativeTrafo(), leaf->GetRelativeTrafo());
        } else if (kind < 19) {
            const auto node = pick(branch.top->Nodes());
            expectGone(node, true);
            messages = tell ? gone_.size() : 0;
            utility_.RemoveSubtree(node, tell);
            if (node == branch.top) branch.top = nullptr;
        } else {
            expectGone(inner, false);
            messages = tell ? gone_.size() : 0;
            number(2) == 0 ? utility_.RemoveChildren(inner, tell)
                           : utility_.ClearAndRemoveChildren(inner, tell);
        }
        EXPECT_EQ(recorder_.Take().size(), messages);
    }

    void build(Branch& branch)
    {
        const auto inner = pick(branch.top->InnerNodes());
        const auto fanOut = number(10) == 0 ? unsigned(number(2)) : branch.fanOut;
        const auto oldTop = branch.top;
        const auto ids = TestAccess::CountIds(manager());
        const auto place = utility_.PrepareForNextChild(inner, fanOut, branch.top);
        EXPECT_EQ(place != nullptr, fanOut > 1 || inner->GetNrChildren() < fanOut);
        // One for each new node, and that the old top was moved.
        const auto created = TestAccess::CountIds(manager()) - ids;
        EXPECT_EQ(recorder_.Take().size(), created + (branch.top != oldTop ? 1 : 0));
        if (!place || number(5) == 0) return;
        EXPECT_LT(place->GetNrChildren(), fanOut);
        EXPECT_TRUE(utility_.CreateLeaf(place, CbMake<CountedModel>(), &c_matIdentityD));
        EXPECT_EQ(recorder_.Take().size(), 1);
    }

    void check()
    {
        EXPECT_TRUE(manager().IsValid());
        std::map<CyUniqueID, CbWeakPointer<ZeCTransformationNode>> found;
        std::size_t leaves = 0;
        for (const auto& [node, trafo] : root_->Nodes()) {
            found.emplace(node.GetID(), Utility::Node(&node));
            leaves += node.IsLeaf() ? 1 : 0;
        }
        for (const Branch& branch : branches_) {
            if (!branch.top) continue;
            EXPECT_EQ(branch.top->GetFather(), root_);
            for (const auto& [inner, trafo] : branch.top->InnerNodes()) {
                EXPECT_LE(inner.GetNrChildren(), branch.fanOut);
            }
        }
        for (const auto& [id, node] : known_) {
            EXPECT_NE(found.contains(id), gone_.contains(id));
            EXPECT_EQ(manager().GetNodeByID(id) == nullptr, gone_.contains(id));
            EXPECT_EQ(node.Lock() == nullptr, gone_.contains(id));
        }
        EXPECT_EQ(TestAccess::CountIds(manager()), found.size());
        EXPECT_EQ(CountedModel::alive, leaves);
        known_.swap(found);
    }

    std::mt19937 random_;
    Utility& utility_ = CbSingleton<Utility>::GetInstance();
    MessageRecorder recorder_;
    Utility::Inner root_ = manager().CreateRootNode();
    Manager::WriteHandle handle_;
    std::array<Branch, 3> branches_{Branch{2, nullptr}, {3, nullptr}, {5, nullptr}};
    std::map<CyUniqueID, CbWeakPointer<ZeCTransformationNode>> known_;
    std::set<CyUniqueID> gone_; ///< ids of what the last operation removed
};

TEST_F(RandomUtilityOperations, LeavesAValidTreeAndNothingElse) { run(20240711, Rounds(20000)); }

TEST_F(RandomUtilityOperations, DoesSoFromAnotherSeed)
{
    run(std::random_device{}(), Rounds(5000));
}

} // namespace
