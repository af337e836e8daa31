#include "transformationtree/walks/zennodeiterator.h"

#include "platform/base/cbprefetch.h"
#include "platform/math3d/cbmatrixinternal.h"

#include <algorithm>
#include <atomic>

using Iterator = ZeCTransformationNode::ZeNNodeIterator;

namespace
{

using Child = ZeCTransformationPath::Child;

constexpr std::ptrdiff_t c_nodesAhead = 6;
constexpr std::ptrdiff_t c_childrenAhead = 2;

const Child* firstNonNull(const Child* from, const Child* end) noexcept
{
    return std::find_if(from, end, [](const Child& child) { return static_cast<bool>(child); });
}

} // namespace

ZeCTransformationNodeInner& Iterator::topFather() const noexcept
{
    const std::size_t levels = path_.GetSize();
    if (levels == 1) return *root_;
    return *(*path_[levels - 2].position)->AsInner();
}

bool Iterator::topIsCachedLeaf() const noexcept { return topNode().isCachedLeaf(); }

// Looks at the determinant once for each father on the path, not once for each child. The mark in
// the entry goes with the father's transformation: accumulate() clears it.
const CbMatrix4Rd& Iterator::regularFatherTrafo() const
{
    if (path_.GetSize() < 2) return c_matIdentityD;
    const Path::Entry& father = path_[path_.GetSize() - 2];
    // Relaxed: whoever else finds it out finds out the same.
    const std::atomic_ref<std::uint64_t> regular(father.regular);
    if (regular.load(std::memory_order_relaxed) == 0) {
        CbMatrixInternal::CheckInvertible(CbMatrixInternal::Determinant(father.trafo));
        regular.store(1, std::memory_order_relaxed);
    }
    return father.trafo;
}

ZeCTransformationNodeWithTrafo Iterator::operator*() const
{
    const Borrowed here = Borrow();
    return {ZeCTransformationNodeWithTrafo::Regular{}, here.node, here.trafo, regularFatherTrafo()};
}

void Iterator::accumulate(std::size_t level) noexcept
{
    Path::Entry& entry = path_[level];
    const CbMatrix4Rd& relative = (*entry.position)->relativeTrafo_;
    entry.regular = 0;
    // No product with the identity: it would turn -0.0 into 0.0.
    if (level == 0) {
        entry.trafo = relative;
    } else {
        Compose(relative, path_[level - 1].trafo, entry.trafo);
    }
}

// Nodes are large and often scattered, so what the next steps read is asked for early: the nodes of
// the siblings that come next and, of the nearer ones, the list of their children.
void Iterator::prefetchNode(const Path::Child& child) noexcept
{
    if (!child) return;
    const auto* const hot = reinterpret_cast<const std::byte*>(&child->relativeTrafo_);
    CbPrefetch(hot);
    CbPrefetch(hot + 64);
    CbPrefetch(hot + sizeof(CbMatrix4Rd));
}

void Iterator::prefetchChildren(const Path::Child& child) noexcept
{
    const ZeCTransformationNodeInner* const inner = child ? child->AsInner() : nullptr;
    if (inner != nullptr) CbPrefetch(inner->children_->data());
}

void Iterator::prefetchSiblings(const Path::Child* position, const Path::Child* end) noexcept
{
    const std::ptrdiff_t left = end - position;
    if (left > c_nodesAhead) prefetchNode(position[c_nodesAhead]);
    if (left > c_childrenAhead) prefetchChildren(position[c_childrenAhead]);
}

void Iterator::push(const Path::Child* position, const Path::Child* end)
{
    Path::Entry& entry = path_.Push();
    entry.position = position;
    entry.end = end;
    accumulate(path_.GetSize() - 1);
}

bool Iterator::pushFirstChild()
{
    const ZeCTransformationNodeInner* const inner =
        path_.IsEmpty() ? root_.Get() : topNode().AsInner();
    if (inner == nullptr) return false;
    const auto& children = *inner->children_;
    const Child* const end = children.data() + children.size();
    const Child* const first = firstNonNull(children.data(), end);
    if (first == end) return false;
    const Child* const near = end - first > c_nodesAhead ? first + c_nodesAhead : end;
    for (const Child* child = first; child != near; ++child) prefetchNode(*child);
    push(first, end);
    return true;
}

bool Iterator::pushLastChild()
{
    const ZeCTransformationNodeInner* const inner =
        path_.IsEmpty() ? root_.Get() : topNode().AsInner();
    if (inner == nullptr) return false;
    const auto& children = *inner->children_;
    const Child* const begin = children.data();
    const Child* const end = begin + children.size();
    for (const Child* child = end; child != begin;) {
        if (!*--child) continue;
        push(child, end);
        return true;
    }
    return false;
}

bool Iterator::moveToNextSibling()
{
    Path::Entry& top = path_.Top();
    const Child* const next = firstNonNull(top.position + 1, top.end);
    if (next == top.end) {
        path_.Pop();
        return false;
    }
    prefetchSiblings(next, top.end);
    top.position = next;
    accumulate(path_.GetSize() - 1);
    return true;
}

bool Iterator::moveToPreviousSibling()
{
    Path::Entry& top = path_.Top();
    // Entries know the end of the list, not its beginning: only few walks go backward.
    const Child* const begin = topFather().children_->data();
    for (const Child* child = top.position; child != begin;) {
        if (!*--child) continue;
        top.position = child;
        accumulate(path_.GetSize() - 1);
        return true;
    }
    path_.Pop();
    return false;
}

void Iterator::leaveSubtree()
{
    while (!path_.IsEmpty() && !moveToNextSibling()) {
    }
}

void Iterator::descendToLast()
{
    while (pushLastChild()) {
    }
}

// A step looks at the top entry alone:
//
//     is there a child?    yes: push the first one         down, one entry more
//            | no
//     is there a sibling?  yes: move the entry on to it    across
//            | no
//     pop the entry, and ask its father's for a sibling    up; with no entry left, the end
//
// The path holds what a recursion would keep on the stack, so that no depth is too large. A step
// back goes the other way round: to the last node at or below the sibling before, else up.
Iterator& Iterator::operator++()
{
    if (leafRoot_) {
        atRoot_ = false;
    } else if (atRoot_) {
        atRoot_ = false;
        pushFirstChild();
    } else if (!path_.IsEmpty() && !pushFirstChild()) {
        leaveSubtree();
    }
    return *this;
}

Iterator& Iterator::operator--()
{
    if (leafRoot_ || atRoot_) {
        atRoot_ = false;
    } else if (!path_.IsEmpty()) {
        if (moveToPreviousSibling()) {
            descendToLast();
        } else {
            atRoot_ = path_.IsEmpty();
        }
    }
    return *this;
}

Iterator& Iterator::IncrementToNextSibling()
{
    leaveSubtree();
    return *this;
}

CbSmartPointer<ZeCTransformationNode> Iterator::GetFather() const
{
    if (path_.IsEmpty()) return nullptr;
    return CbSmartPointer<ZeCTransformationNode>(&topFather());
}

bool Iterator::HasSameTraversalRoot(const ZeNNodeIterator& other) const noexcept
{
    return root_ == other.root_ && rootLeaf_ == other.rootLeaf_;
}

bool Iterator::equals(const ZeNNodeIterator& other) const noexcept
{
    if (leafRoot_ || other.leafRoot_) {
        return rootLeaf_ == other.rootLeaf_ && atRoot_ == other.atRoot_;
    }
    if (atRoot_ != other.atRoot_ || root_ != other.root_ ||
        path_.GetSize() != other.path_.GetSize()) {
        return false;
    }
    // From the top down, where iterators of one walk differ first.
    for (std::size_t i = path_.GetSize(); i-- > 0;) {
        const Path::Entry& a = path_[i];
        const Path::Entry& b = other.path_[i];
        if (a.position != b.position || a.trafo != b.trafo) return false;
    }
    return true;
}
