#pragma once

#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/support/scenario.h"
#include "tests/support/storedbytes.h"
#include "transformationtree/models/zecleafnodevector.h"

#include <span>
#include <unordered_set>

/// Number of nodes at and below @p top where each is listed once, by the father it names; 0 where
/// the records that were read make no tree of them.
[[nodiscard]] inline std::size_t CountTree(const Inner& top)
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

/// Number of steps from an iterator to the end of its walk.
inline std::size_t CountSteps(auto iterator, const auto& step)
{
    std::size_t count = 0;
    for (; iterator; step(iterator)) ++count;
    return count;
}

/// Expects that the nodes of a kind can be written as a vector and read again.
inline void ExpectVectorComesBack(const Inner& root, ZeCNodeVector::IteratorType type)
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

/// Walks a tree of @p count nodes, writes it out as a node vector and computes what is computed of
/// subtrees; expects that all agree.
inline void WalkTree(const Inner& root, std::size_t count)
{
    const auto forward = [](auto from) { return CountSteps(from, [](auto& at) { ++at; }); };
    const auto backward = [](auto from) { return CountSteps(from, [](auto& at) { --at; }); };
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
        ExpectVectorComesBack(root, type);
    }
    (void)root->GetBoundingBox(c_matIdentityD);
    root->UpdateNodeRevisionSubtree(nullptr);
    EXPECT_EQ(root->GetNodeRevision(3), root->GetNodeRevisionSubtree(3));
}
