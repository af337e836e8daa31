// Random edits of a tree, compared after every step with the naive tree.

#include "platform/base/cbexception.h"
#include "tests/support/managerfixture.h"
#include "tests/support/rounds.h"
#include "tests/transformationtree/manager/naivetwins.h"

#include <array>
#include <functional>
#include <map>
#include <random>
#include <sstream>

namespace
{

class RandomEdits : public NodeManagerTest
{
protected:
    void run(unsigned seed, int steps)
    {
        random_.seed(seed);
        ASSERT_TRUE(naive_.Link()); // as the fixture has done
        for (int step = 0; step < steps; ++step) {
            shape_ = step / 700 % 3;
            log_.str("");
            naive_.StartEdit();
            edit();
            const std::string difference = twins_.FindDifference();
            ASSERT_EQ(difference, "") << "seed " << seed << ", step " << step << ": " << log_.str();
        }
    }

    // That the run met all that it is meant to meet.
    void expectCoverage() const
    {
        for (const auto& [name, counts] : counts_) {
            const bool isRefusable = name != "remove" && name != "add subtree";
            EXPECT_GT(counts[0], 0) << name;
            EXPECT_EQ(counts[1] > 0, isRefusable) << name;
        }
        EXPECT_GT(rootsUnset_, 0);
    }

private:
    [[nodiscard]] int number(int below)
    {
        return std::uniform_int_distribution<int>(0, below - 1)(random_);
    }
    [[nodiscard]] bool chance(int percent) { return number(100) < percent; }

    // Any node that fulfils a condition, or null.
    template<class Condition>
    NaiveNode* pick(Condition&& condition)
    {
        std::vector<NaiveNode*> nodes;
        for (const auto& node : naive_.GetNodes()) {
            if (condition(*node)) nodes.push_back(node.get());
        }
        return nodes.empty() ? nullptr : nodes[static_cast<std::size_t>(number(int(nodes.size())))];
    }
    NaiveNode* pickAny()
    {
        return pick([](const NaiveNode&) { return true; });
    }
    static int depthOf(const NaiveNode& node)
    {
        return node.father == nullptr ? 0 : 1 + depthOf(*node.father);
    }
    // An inner node, now and then null: of any shape, or rather deep ones, or rather wide ones.
    // Half of them in the data manager.
    NaiveNode* pickFather()
    {
        if (chance(1)) return nullptr;
        const bool managed = naive_.GetRoot() != nullptr && chance(50);
        const auto isInner = [managed](const NaiveNode& node) {
            return !node.leaf && (node.managed || !managed);
        };
        NaiveNode* best = pick(isInner);
        for (int i = 0; best != nullptr && shape_ != 0 && i < 3; ++i) {
            NaiveNode* const other = pick(isInner);
            if (shape_ == 1 ? depthOf(*other) > depthOf(*best)
                            : other->children.size() > best->children.size()) {
                best = other;
            }
        }
        return best;
    }
    // A node to insert: mostly one that may be inserted.
    NaiveNode* pickNew()
    {
        if (chance(1)) return nullptr;
        NaiveNode* const free = pick([&](const NaiveNode& node) {
            return node.father == nullptr && &node != naive_.GetRoot();
        });
        return free != nullptr && chance(85) ? free : pickAny();
    }
    // An entry of a father: mostly one that it has, and rather one that is not its own any more.
    NaiveNode* pickChild(const NaiveNode* father)
    {
        if (father == nullptr || father->children.empty() || chance(5)) return pickAny();
        for (NaiveNode* const child : father->children) {
            if (child->father != father && chance(50)) return child;
        }
        return father->children[static_cast<std::size_t>(number(int(father->children.size())))];
    }
    // What to insert before: an entry in the middle, null, the node itself or an unknown one.
    NaiveNode* pickBefore(const NaiveNode* father, NaiveNode* node)
    {
        const int kind = number(10);
        if (kind == 0) return nullptr;
        if (kind == 1) return node;
        return kind == 2 ? pickAny() : pickChild(father);
    }

    [[nodiscard]] Node real(const NaiveNode* node) const { return twins_.Get(node); }
    [[nodiscard]] Inner realInner(const NaiveNode* node) const { return InnerOf(real(node)); }
    // Does the same edit on both sides, and compares how they end.
    void both(const std::string& name, const std::vector<const NaiveNode*>& arguments,
              const std::function<NaiveTree::Refusal()>& naiveEdit,
              const std::function<void()>& realEdit)
    {
        log_ << name;
        for (const NaiveNode* node : arguments) log_ << ' ' << NaiveTwins::NameOf(node);
        const NaiveTree::Refusal refusal = naiveEdit();
        ++counts_[name][refusal ? 1 : 0];
        try {
            realEdit();
            EXPECT_FALSE(refusal) << log_.str();
        } catch (const CbException& exception) {
            ASSERT_TRUE(refusal) << log_.str() << ' ' << exception.what();
            EXPECT_EQ(exception.GetFunction(), refusal->function) << log_.str();
            // Insertions have a fixed place, the others their own.
            if (refusal->line == 0) return;
            EXPECT_EQ(exception.GetFile(), "zectransformationnodemanager");
            EXPECT_EQ(exception.GetLine(), refusal->line) << log_.str();
        }
    }

    void edit()
    {
        const auto size = naive_.GetNodes().size();
        if (size < 90 || (size < 110 && chance(10))) return create();
        if (size > 115 || chance(3)) return discard();
        if (naive_.GetRoot() == nullptr && chance(20)) return chance(20) ? createRoot() : setRoot();
        const int kind = number(20);
        if (kind < 7) return insert();
        if (kind < 9) return remove();
        if (kind < 10) return place("replace", &NaiveTree::Replace, &Manager::ReplaceChild);
        if (kind < 13) return place("exchange", &NaiveTree::Exchange, &Manager::ExchangeChild);
        return kind < 14 ? seldom() : move();
    }

    void create()
    {
        const bool leaf = chance(50);
        log_ << "create";
        twins_.Add(naive_.Create(leaf), leaf ? Node(manager().CreateLeafNode(nullptr))
                                             : Node(manager().CreateInnerNode()));
    }

    // Drops ids and the test's references of a subtree that is no part of the root's, or of a node
    // anywhere.
    void discard()
    {
        NaiveNode* const top = pick([&](const NaiveNode& node) { return !node.managed; });
        if (top == nullptr) return;
        log_ << "discard " << NaiveTwins::NameOf(top);
        auto nodes = NaiveTree::Subtree(*top);
        if (chance(30)) nodes = {top};
        for (NaiveNode* const node : nodes) {
            naive_.Delete(*node);
            manager().DeleteNode(real(node));
            node->held = false;
        }
        for (NaiveNode* const node : nodes) twins_.Release(node);
    }

    void insert()
    {
        NaiveNode* const father = pickFather();
        NaiveNode* const child = pickNew();
        NaiveNode* const before = pickBefore(father, child);
        const std::size_t size = father != nullptr ? father->children.size() : 0;
        const int index = number(int(size) + 1);
        const bool atEnd = chance(70);
        switch (number(7)) {
        case 0:
        case 1:
        case 2:
            return both(
                atEnd ? "append" : "prepend", {father, child},
                [&] { return naive_.Insert(father, atEnd ? size : 0, child); },
                [&] { manager().AppendChild(realInner(father), real(child), atEnd); });
        case 3:
            return both(
                "insert before", {father, before, child},
                [&] { return naive_.InsertBefore(father, before, child); },
                [&] { manager().InsertChild(realInner(father), real(before), real(child)); });
        default:
            return both(
                "insert", {father, child},
                [&] { return naive_.Insert(father, static_cast<std::size_t>(index), child); },
                [&] {
                    const Inner inner = realInner(father);
                    auto position = ZeCTransformationNodeInner::ConstChildIterator();
                    if (inner) position = inner->BeginChild() + index;
                    manager().InsertChild(inner, position, real(child));
                });
        }
    }

    void remove()
    {
        NaiveNode* const father = pickFather();
        NaiveNode* const child = pickChild(father);
        both(
            "remove", {father, child}, [&] { return naive_.Remove(father, child); },
            [&] { manager().RemoveChild(realInner(father), real(child)); });
    }

    template<class NaiveEdit, class RealEdit>
    void place(const std::string& name, NaiveEdit naiveEdit, RealEdit realEdit)
    {
        NaiveNode* const father = pickFather();
        NaiveNode* const oldChild = pickChild(father);
        NaiveNode* const newChild = chance(50) ? pickNew() : pickAny();
        both(
            name, {father, oldChild, newChild},
            [&] { return (naive_.*naiveEdit)(father, oldChild, newChild); },
            [&] { (manager().*realEdit)(realInner(father), real(oldChild), real(newChild)); });
    }

    void move()
    {
        NaiveNode* const node = chance(1) ? nullptr : pickAny();
        NaiveNode* const father = node != nullptr && chance(30) ? node->father : pickFather();
        NaiveNode* const before = pickBefore(father, node);
        both(
            "move", {father, node, before}, [&] { return naive_.Move(father, node, before); },
            [&] { manager().MoveNode(realInner(father), real(node), real(before)); });
    }

    void setRoot()
    {
        NaiveNode* root = pickFather();
        if (chance(70)) { // a tree with many nodes
            root = pick([](const NaiveNode& node) { return !node.leaf && depthOf(node) >= 3; });
            while (root != nullptr && root->father != nullptr) root = root->father;
        }
        both(
            "set root", {root}, [&] { return naive_.SetRoot(root); },
            [&] { manager().SetRootNode(realInner(root)); });
    }

    void seldom()
    {
        NaiveNode* const any = pickAny();
        const int kind = number(8);
        if (kind == 0) {
            both(
                "add subtree", {any}, [&] { return naive_.AddSubtree(*any); },
                [&] { manager().AddSubtreeToDataManager(real(any)); });
        } else if (kind == 1) {
            log_ << "delete " << NaiveTwins::NameOf(any);
            naive_.Delete(*any);
            manager().DeleteNode(real(any));
        } else if (kind == 2) {
            createRoot();
        } else if (kind < 5) {
            setRoot();
        } else if (kind == 5) {
            log_ << "link";
            EXPECT_FALSE(manager().SetDataManager(dataManager, nullptr));
            EXPECT_EQ(manager().SetDataManager(dataManager, dataNode), naive_.Link());
        } else if (kind == 6) {
            log_ << "unlink";
            EXPECT_EQ(manager().UnsetDataManager(), naive_.Unlink());
        } else {
            unsetRoot();
        }
    }

    void createRoot()
    {
        Inner created;
        NaiveNode* root = nullptr;
        both(
            "create root", {},
            [&] {
                root = naive_.Create(false);
                const auto refusal = naive_.SetRoot(root);
                if (refusal) root->registered = root->held = false;
                return refusal;
            },
            [&] { created = manager().CreateRootNode(); });
        if (created) twins_.Add(root, created);
    }

    void unsetRoot()
    {
        log_ << "unset root";
        if (chance(50)) return manager().UnsetRootNode(); // without the lock: nothing happens
        if (naive_.GetRoot() == nullptr) return;
        ++rootsUnset_;
        naive_.UnsetRoot();
        NodeManagerTest::unsetRoot();
    }

    std::mt19937 random_;
    int shape_ = 0;
    NaiveTree naive_;
    NaiveTwins twins_{naive_, dataManager, *dataNode};
    std::ostringstream log_;
    std::map<std::string, std::array<int, 2>> counts_; // edits carried out, and refused
    int rootsUnset_ = 0;
};

TEST_F(RandomEdits, GiveWhatANaiveTreeGives)
{
    run(20240607, Rounds(100000));
    expectCoverage();
}

TEST_F(RandomEdits, GiveTheSameFromAnotherSeed) { run(std::random_device{}(), Rounds(20000)); }

} // namespace
