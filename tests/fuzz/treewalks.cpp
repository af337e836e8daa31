#include "tests/fuzz/treewalks.h"

#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/support/storedbytes.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <unordered_set>

std::size_t CountTree(const Inner& top)
{
    std::unordered_set<const ZeCTransformationNode*> met{top.Get()};
    std::vector<const ZeCTransformationNodeInner*> open{top.Get()};
    while (!open.empty()) {
        const ZeCTransformationNodeInner& father = *open.back();
        open.pop_back();
        for (const auto& child : std::span(father.BeginChild(), father.EndChild())) {
            if (!child || !child->IsChildOf(father) || !met.insert(child.Get()).second) return 0;
            if (child->IsLeaf()) continue;
            open.push_back(static_cast<const ZeCTransformationNodeInner*>(child.Get()));
        }
    }
    return met.size();
}

namespace
{

// Number of steps from an iterator to the end of its walk.
std::size_t countSteps(auto iterator, const auto& step)
{
    std::size_t count = 0;
    for (; iterator; step(iterator)) ++count;
    return count;
}

void expectVectorComesBack(const Inner& root, ZeCNodeVector::IteratorType type)
{
    ZeCNodeVector vector;
    try {
        vector.SetInnerNode(root, type, c_matIdentityD, 7);
    } catch (const CyExceptionNotInvertible&) {
        return; // any matrix may have been read
    }
    ZeCNodeVector read;
    EXPECT_EQ(ReadRecord(read, RecordOf(vector)), 0U);
    EXPECT_EQ(read.GetElements().size(), vector.GetElements().size());
}

} // namespace

void WalkTree(const Inner& root, std::size_t count)
{
    const auto forward = [](auto from) { return countSteps(from, [](auto& at) { ++at; }); };
    const auto backward = [](auto from) { return countSteps(from, [](auto& at) { --at; }); };
    EXPECT_EQ(forward(root->BeginNode()), count);
    EXPECT_EQ(backward(root->LastNode()), count);
    const std::size_t inner = forward(root->BeginInner());
    EXPECT_EQ(backward(root->LastInner()), inner);
    EXPECT_EQ(root->GetNrLeafNodes(), count - inner);
    EXPECT_EQ(backward(root->LastLeaf()), count - inner);
    EXPECT_EQ(root->EmptyLeafs(), count == inner);
    EXPECT_EQ(backward(root->LastCachedLeaf()), root->GetNrCachedLeafNodes());
    for (const auto type :
         {ZeCNodeVector::itCachedLeaf, ZeCNodeVector::itLeaf, ZeCNodeVector::itNode}) {
        expectVectorComesBack(root, type);
    }
    (void)root->GetBoundingBox(c_matIdentityD);
    root->UpdateNodeRevisionSubtree(nullptr);
    EXPECT_EQ(root->GetNodeRevision(3), root->GetNodeRevisionSubtree(3));
}
