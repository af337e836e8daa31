// Random trees: all walks against a recursive description of what they are to deliver, and what a
// tree tells of all its nodes.

#include "platform/math3d/cbmatrixinternal.h"
#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/support/rounds.h"
#include "tests/support/scenario.h"
#include "tests/support/treematrices.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <algorithm>
#include <array>

namespace
{

using NodeIterator = ZeCTransformationNode::ZeNNodeIterator;
using LeafIterator = ZeCTransformationNode::ZeNLeafNodeIterator;
using CachedLeafIterator = ZeCTransformationNode::ZeNCachedLeafNodeIterator;
using InnerIterator = ZeCTransformationNode::ZeNInnerNodeIterator;
using FatherIterator = ZeCTransformationNode::ZeNFatherIterator;

// Where a walk stops.
struct Stop
{
    ZeCTransformationNode* node;
    CbMatrix4Rd trafo;
    int father; // index among all stops, -1 for the traversal root
    int level;
    bool inCachedWalk;
    bool comparable; // no NaN on the path
};

// The recursion that all walks are compared with: every node in order.
void collect(const Node& node, int father, bool closed, std::vector<Stop>& stops)
{
    if (!node) return;
    Stop stop{node.Get(), c_matIdentityD, father, 0, false, true};
    if (father >= 0) {
        const Stop& above = stops[father];
        stop.trafo = above.level == 0 ? node->GetRelativeTrafo()
                                      : ProductByHand(node->GetRelativeTrafo(), above.trafo);
        stop.level = above.level + 1;
        stop.comparable = above.comparable && !HasNaN(stop.trafo);
    }
    const bool stopsCachedWalk = node->IsLeaf() || node->GetModel();
    stop.inCachedWalk = !closed && stopsCachedWalk && (father >= 0 || node->IsLeaf());
    const int index = static_cast<int>(stops.size());
    stops.push_back(stop);
    if (node->IsLeaf()) return;
    const bool closedBelow = closed || (stopsCachedWalk && father >= 0);
    for (const Node& child :
         *TestAccess::Children(static_cast<ZeCTransformationNodeInner&>(*node))) {
        collect(child, index, closedBelow, stops);
    }
}

CbMatrix4Rd randomMatrix(std::mt19937& random, int kind)
{
    if (kind == 1) return RandomSparse(random);
    if (kind == 2 && random() % 8 == 0) return RandomWithNaN(random);
    return random() % 6 == 0 ? c_matIdentityD : RandomPose(random);
}

Inner randomTree(std::mt19937& random)
{
    const Model model = CbMake<ZeCModelQMT>();
    const int matrixKind = static_cast<int>(random() % 3);
    const bool deep = random() % 3 == 0;
    std::vector<Inner> inners{CbMake<ZeCTransformationNodeInner>()};
    if (random() % 4 == 0) inners[0]->SetModel(model, -1);
    inners[0]->SetRelativeTrafo(randomMatrix(random, matrixKind));
    for (auto size = random() % 60; size > 0; --size) {
        const Inner father = deep && random() % 8 != 0 ? inners.back() // by value: inners may grow
                                                       : inners[random() % inners.size()];
        const auto draw = random() % 100;
        Node child; // null in some cases
        if (draw < (deep ? 60U : 40U)) {
            inners.push_back(CbMake<ZeCTransformationNodeInner>());
            if (random() % 6 == 0) inners.back()->SetModel(model, -1);
            child = inners.back();
        } else if (draw < 90) {
            child = CbMake<ZeCTransformationNodeLeaf>(random() % 2 ? model : nullptr);
        }
        if (child) child->SetRelativeTrafo(randomMatrix(random, matrixKind));
        LinkByHand(father, child);
        auto& children = TestAccess::Children(*father);
        std::swap(children.begin()[random() % children->size()], children.end()[-1]);
    }
    return inners[0];
}

// A kind of walk: how it is asked for, and where it stops.
template<class Iterator>
struct Kind
{
    using Ask = Iterator (ZeCTransformationNode::*)() const;
    Ask begin;
    Ask last;
    Ask end;
    ZeCTransformationNode::ZeTNodeRange<Iterator> (ZeCTransformationNode::*range)() const;
    bool (*stopsAt)(const Stop&);
};

// One kind of walk over one tree, with the stops that it is to make.
template<class Iterator>
class WalkCheck
{
public:
    WalkCheck(const Kind<Iterator>& kind, const Node& root, const std::vector<Stop>& all,
              std::mt19937& random)
        : root_(root), all_(all), random_(random), end_((*root.*kind.end)())
    {
        std::vector<int> stops;
        for (int i = 0; i < static_cast<int>(all.size()); ++i) {
            if (kind.stopsAt(all[i])) stops.push_back(i);
        }
        walk((*root.*kind.begin)(), stops, [](Iterator& it) { ++it; });
        checkRange((*root.*kind.range)(), stops);
        Iterator end = (*root.*kind.begin)();
        for (std::size_t i = 0; i < stops.size(); ++i) ++end;
        EXPECT_TRUE(++end == end_) << "the end stays the end";
        std::reverse(stops.begin(), stops.end());
        walk((*root.*kind.last)(), stops, [](Iterator& it) { --it; });
    }

private:
    static constexpr bool c_leaves = std::is_same_v<Iterator, LeafIterator>;
    static constexpr bool c_cachedLeaves = std::is_same_v<Iterator, CachedLeafIterator>;

    template<class Step>
    void walk(Iterator it, const std::vector<int>& expected, Step step)
    {
        Iterator reused = end_; // keeps the storage of other positions
        for (const int i : expected) {
            ASSERT_TRUE(it) << "the walk ended at stop " << i;
            ASSERT_FALSE(it == std::default_sentinel);
            checkPosition(it, all_[i]);
            if (testing::Test::HasFailure()) return;
            continueFromCopy(it, reused, all_[i]);
            const Model model = hideModel(*all_[i].node);
            step(it);
            if (model) static_cast<ZeCTransformationNodeInner&>(*all_[i].node).SetModel(model, -1);
        }
        EXPECT_FALSE(it);
        EXPECT_TRUE(it == end_);
        EXPECT_TRUE(it == std::default_sentinel);
        EXPECT_FALSE(it.GetFather());
    }

    void checkPosition(const Iterator& it, const Stop& stop)
    {
        const auto borrowed = it.Borrow();
        ASSERT_EQ(&borrowed.node, stop.node);
        ASSERT_THAT(borrowed.trafo, HasBitsOf(stop.trafo));
        const ZeCTransformationNode* father = stop.father < 0 ? nullptr : all_[stop.father].node;
        ASSERT_EQ(it.GetFather().Get(), father);
        checkValue(it, stop);

        ASSERT_TRUE(it.HasSameTraversalRoot(root_->EndNode()));
        ASSERT_FALSE(it == end_);
        if (const auto inner = InnerOf(root_)) {
            const NodeIterator found = inner->Find(Node(stop.node));
            ASSERT_EQ(found == it, stop.comparable);
            ASSERT_EQ(it != found, !stop.comparable);
            ASSERT_EQ(&found.Borrow().node, stop.node);
            ASSERT_THAT(found.Borrow().trafo, HasBitsOf(stop.trafo));
            if constexpr (c_leaves) {
                const LeafIterator leaf = inner->Find(Leaf(&borrowed.node));
                ASSERT_TRUE(leaf);
                ASSERT_EQ(leaf == it, stop.comparable);
            }
        }
        checkFathers(it, stop);
    }

    template<class AnyIterator>
    void checkValue(const AnyIterator& it, const Stop& stop)
    {
        const CbMatrix4Rd fatherTrafo = stop.father < 0 ? c_matIdentityD : all_[stop.father].trafo;
        if (CbMatrixInternal::Determinant(fatherTrafo) == 0.0) {
            ASSERT_THROW((void)*it, CyExceptionNotInvertible);
            return;
        }
        const ZeCTransformationNodeWithTrafo value = *it;
        ASSERT_EQ(value.GetNode().Get(), stop.node);
        ASSERT_THAT(value.GetTrafo(), HasBitsOf(stop.trafo));
    }

    // The chain of fathers from here, the node itself first.
    void checkFathers(const NodeIterator& it, const Stop& stop)
    {
        FatherIterator father(it);
        for (const Stop* at = &stop;; at = &all_[at->father]) {
            ASSERT_TRUE(father);
            ASSERT_EQ(&father.Borrow().node, at->node);
            ASSERT_THAT(father.Borrow().trafo, HasBitsOf(at->trafo));
            checkValue(father, *at);
            ++father;
            if (at->father < 0) break;
        }
        ASSERT_FALSE(father);
        ASSERT_FALSE(++father);
        ASSERT_TRUE(father == root_->EndNode());
    }

    // The walk goes on with an equal iterator that was made in one of the possible ways.
    void continueFromCopy(Iterator& it, Iterator& reused, const Stop& stop)
    {
        Iterator copy(it);
        ASSERT_EQ(copy == it, stop.comparable);
        const auto way = random_() % 5;
        if (way == 0) {
            it = copy;
        } else if (way == 1) {
            it = std::move(copy);
        } else if (way == 2) {
            reused = it;
            std::swap(it, reused);
        } else if (way == 3) {
            it = Iterator(std::move(it));
        } else {
            ++copy; // leaves the original alone
        }
        ASSERT_TRUE(it);
        ASSERT_EQ(&it.Borrow().node, stop.node);
    }

    // A model may vanish, and come back, while a cached walk stands on it.
    Model hideModel(ZeCTransformationNode& node)
    {
        if (!c_cachedLeaves || node.IsLeaf() || random_() % 2 == 0) return nullptr;
        const Model model = node.GetModel();
        static_cast<ZeCTransformationNodeInner&>(node).DeleteModel();
        return model;
    }

    template<class Range>
    void checkRange(const Range& range, const std::vector<int>& stops)
    {
        static_assert(std::ranges::view<Range> && std::ranges::input_range<Range>);
        auto stop = stops.begin();
        for (const auto& [node, trafo] : range) {
            ASSERT_NE(stop, stops.end());
            ASSERT_EQ(&node, all_[*stop].node);
            ASSERT_THAT(trafo, HasBitsOf(all_[*stop++].trafo));
        }
        ASSERT_EQ(stop, stops.end());
    }

    Node root_;
    const std::vector<Stop>& all_;
    std::mt19937& random_;
    Iterator end_;
};

void checkSkipping(const Node& root, const std::vector<Stop>& all)
{
    NodeIterator it = root->BeginNode();
    EXPECT_TRUE(it.IncrementToNextSibling() == root->BeginNode());
    for (std::size_t i = 1; i < all.size(); ++i) {
        NodeIterator skipping = ++it;
        skipping.IncrementToNextSibling();
        auto next = i + 1;
        while (next < all.size() && all[next].level > all[i].level) ++next;
        if (next == all.size()) {
            ASSERT_TRUE(skipping == root->EndNode());
            ASSERT_FALSE(skipping.IncrementToNextSibling());
            continue;
        }
        ASSERT_EQ(&skipping.Borrow().node, all[next].node);
        ASSERT_THAT(skipping.Borrow().trafo, HasBitsOf(all[next].trafo));
    }
}

void checkCountsAndEnds(const ZeCTransformationNode& root, const std::vector<Stop>& all)
{
    std::vector<ZeCTransformationNode*> leaves;
    std::vector<ZeCTransformationNode*> cached;
    for (const Stop& stop : all) {
        if (stop.node->IsLeaf()) leaves.push_back(stop.node);
        if (stop.inCachedWalk) cached.push_back(stop.node);
    }
    const auto frontOf = [](const auto& stops) { return stops.empty() ? nullptr : stops.front(); };
    const auto backOf = [](const auto& stops) { return stops.empty() ? nullptr : stops.back(); };
    EXPECT_EQ(root.GetNrLeafNodes(), leaves.size());
    EXPECT_EQ(root.GetNrCachedLeafNodes(), cached.size());
    EXPECT_EQ(root.EmptyLeafs(), leaves.empty());
    EXPECT_EQ(root.BackNode().Get(), all.back().node);
    EXPECT_EQ(root.FrontLeaf().Get(), frontOf(leaves));
    EXPECT_EQ(root.BackLeaf().Get(), backOf(leaves));
    EXPECT_EQ(root.FrontCachedLeaf().Get(), frontOf(cached));
    EXPECT_EQ(root.BackCachedLeaf().Get(), backOf(cached));
}

// The newest revisions of a subtree, asked for, and rolled up to all inner nodes.
void checkRevisions(ZeCTransformationNode& root, const std::vector<Stop>& all, std::mt19937& random)
{
    std::vector<std::array<ZeTNodeRevision, 2>> newest(all.size());
    for (std::size_t i = all.size(); i-- > 0;) {
        for (const unsigned mask : {1U, 2U}) {
            const auto revision = static_cast<int>(random() % 200) - 50;
            all[i].node->SetNodeRevision(revision, mask);
            auto& highest = newest[i][mask - 1];
            highest = revision;
            for (auto below = i + 1; below < all.size() && all[below].level > all[i].level; ++below)
                highest = std::max(highest, newest[below][mask - 1]);
        }
    }
    const auto own = root.GetNodeRevision(3);
    EXPECT_EQ(root.GetNodeRevisionSubtree(0), -1);
    EXPECT_EQ(root.GetNodeRevisionSubtree(1), newest[0][0]);
    EXPECT_EQ(root.GetNodeRevisionSubtree(2), newest[0][1]);
    EXPECT_EQ(root.GetNodeRevisionSubtree(3), std::max(newest[0][0], newest[0][1]));
    EXPECT_EQ(root.GetNodeRevision(3), own) << "asking changes nothing";
    std::array<ZeTNodeRevision, 2> told{};
    root.UpdateNodeRevisionSubtree(told.data());
    EXPECT_EQ(told, newest[0]);
    for (std::size_t i = 0; i < all.size(); ++i) {
        ASSERT_EQ(all[i].node->GetNodeRevision(1), newest[i][0]);
        ASSERT_EQ(all[i].node->GetNodeRevision(2), newest[i][1]);
    }
}

std::vector<std::int32_t> referenceCounts(const std::vector<Stop>& all)
{
    std::vector<std::int32_t> counts;
    for (const Stop& stop : all) counts.push_back(stop.node->getReferenceCounter().GetCount());
    return counts;
}

void checkAllWalks(const Node& root, std::mt19937& random)
{
    std::vector<Stop> all;
    collect(root, -1, false, all);
    const auto counts = referenceCounts(all);
    using N = ZeCTransformationNode;
    const Kind<NodeIterator> nodes{&N::BeginNode, &N::LastNode, &N::EndNode, &N::Nodes,
                                   [](const Stop&) { return true; }};
    const Kind<LeafIterator> leaves{&N::BeginLeaf, &N::LastLeaf, &N::EndLeaf, &N::Leaves,
                                    [](const Stop& stop) { return stop.node->IsLeaf(); }};
    const Kind<CachedLeafIterator> cachedLeaves{&N::BeginCachedLeaf, &N::LastCachedLeaf,
                                                &N::EndCachedLeaf, &N::CachedLeaves,
                                                [](const Stop& stop) { return stop.inCachedWalk; }};
    const Kind<InnerIterator> inners{&N::BeginInner, &N::LastInner, &N::EndInner, &N::InnerNodes,
                                     [](const Stop& stop) { return !stop.node->IsLeaf(); }};
    (void)WalkCheck(nodes, root, all, random);
    (void)WalkCheck(leaves, root, all, random);
    (void)WalkCheck(cachedLeaves, root, all, random);
    (void)WalkCheck(inners, root, all, random);
    checkSkipping(root, all);
    checkCountsAndEnds(*root, all);
    checkRevisions(*root, all, random);
    EXPECT_EQ(referenceCounts(all), counts);
}

TEST(WalksOfRandomTrees, DeliverWhatARecursionDelivers)
{
    for (int round = 0; round < Rounds(400); ++round) {
        SCOPED_TRACE(testing::Message() << "seed " << round);
        std::mt19937 random(round);
        const Inner root = randomTree(random);
        checkAllWalks(root, random);
        std::vector<Stop> all;
        collect(root, -1, false, all);
        for (int i = 0; i < 4; ++i) checkAllWalks(Node(all[random() % all.size()].node), random);
        if (HasFailure()) return;
    }
}

} // namespace
