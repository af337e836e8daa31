#pragma once

#include "transformationtree/nodes/zectransformationnodeinner.h"
#include "transformationtree/nodes/zectransformationnodeleaf.h"
#include "transformationtree/walks/zectransformationnodewithtrafo.h"
#include "transformationtree/walks/zectransformationpath.h"

#include <cstddef>
#include <iterator>

/// A node lent out by a walk. Lifetime: until the walk goes on.
template<class Node>
struct ZeTBorrowedNode
{
    Node& node;               ///< owned by its father, or by the walk
    const CbMatrix4Rd& trafo; ///< from the node's frame into the traversal root's
};

/// Walks a subtree in pre-order, stops at every node and accumulates the transformations into the
/// frame of the node at which the walk began, the traversal root.
///
/// - Transformations are accumulated from the top down when a node is reached. If one is edited
///   during the walk, those of the nodes on the present path do not change.
/// - Dereferencing needs invertible transformations. Borrow() does not, and counts no references.
/// - Null children, which exist only while a tree is being read, are passed over.
///
/// Lifetime: the iterator keeps its traversal root alive. A change in the structure of the walked
/// subtree invalidates it. Threads: a read handle on the traversal root.
/// Cost: a step is one matrix product; nothing is allocated down to eight levels.
class TRANSFORMATIONTREE_API ZeCTransformationNode::ZeNNodeIterator
{
public:
    /// What std::input_iterator asks for.
    using iterator_concept = std::input_iterator_tag;
    using value_type = ZeCTransformationNodeWithTrafo;
    using difference_type = std::ptrdiff_t;
    /// What Borrow() gives.
    using Borrowed = ZeTBorrowedNode<ZeCTransformationNode>;

    /// Belongs to no walk; converts to true, but is not to be dereferenced or moved.
    ZeNNodeIterator() noexcept = default;

    /// True if the iterator stands on a node.
    explicit operator bool() const noexcept { return atRoot_ || !path_.IsEmpty(); }

    /// The node with its transformation.
    /// Throws: CyExceptionNotInvertible if the father's accumulated transformation is singular.
    [[nodiscard]] ZeCTransformationNodeWithTrafo operator*() const;
    /// Lends out the node and its transformation until the next step.
    [[nodiscard]] Borrowed Borrow() const noexcept
    {
        if (!path_.IsEmpty()) return {topNode(), path_.Top().trafo};
        if (leafRoot_) return {*rootLeaf_, c_matIdentityD};
        return {*root_, c_matIdentityD};
    }

    /// Goes on to the next node; past the last one is the end, which stays the end.
    ZeNNodeIterator& operator++();
    void operator++(int) { ++*this; }
    /// Goes back to the previous node; before the first one is the end. Not to be called at the end
    /// of an inner node's walk: backward walks begin at LastNode() and its kin.
    ZeNNodeIterator& operator--();
    /// Goes on behind the subtree of the present node. Does nothing at the traversal root and at
    /// the end. Iterators of the other kinds may come to rest on a node at which they do not stop:
    /// - They convert to false there, and are not to be read before the next ++ or --.
    /// - That step leaves the node's subtree out if the iterator stops at cached leaves.
    ZeNNodeIterator& IncrementToNextSibling();

    /// Returns the father within the walk: null at the traversal root and at the end.
    [[nodiscard]] CbSmartPointer<ZeCTransformationNode> GetFather() const;
    /// True if both walk from the same node.
    [[nodiscard]] bool HasSameTraversalRoot(const ZeNNodeIterator& other) const noexcept;

    /// Equal positions of walks from the same traversal root, with exactly equal transformations.
    friend bool operator==(const ZeNNodeIterator& a, const ZeNNodeIterator& b) noexcept
    {
        return a.equals(b);
    }
    /// True if the iterator converts to false.
    friend bool operator==(const ZeNNodeIterator& it, std::default_sentinel_t) noexcept
    {
        return !it;
    }

protected:
    /// Nodes with their accumulated transformations, each a child of the one before.
    using Path = ZeCTransformationPath;

    /// Stands on an inner traversal root, or is its end.
    ZeNNodeIterator(CbSmartPointer<ZeCTransformationNodeInner> root, bool atRoot) noexcept
        : root_(std::move(root)), atRoot_(atRoot)
    {}
    /// Stands on a leaf as traversal root, or is its end.
    ZeNNodeIterator(CbSmartPointer<ZeCTransformationNodeLeaf> root, bool atRoot) noexcept
        : atRoot_(atRoot), leafRoot_(true), rootLeaf_(std::move(root))
    {}

    /// The node of the top entry.
    [[nodiscard]] ZeCTransformationNode& topNode() const noexcept { return **path_.Top().position; }
    /// The father of the top entry's node.
    [[nodiscard]] ZeCTransformationNodeInner& topFather() const noexcept;
    /// True if the top node's subtree is closed to cached-leaf walks.
    [[nodiscard]] bool topIsCachedLeaf() const noexcept;
    /// True if the top entry's node is a leaf.
    [[nodiscard]] bool topIsLeaf() const noexcept { return topNode().leaf_; }

    /// Pushes the first child of the present node; false if there is none.
    bool pushFirstChild();
    /// Pushes the last child of the present node; false if there is none.
    bool pushLastChild();
    /// Replaces the top entry by the next sibling's, or pops it and returns false.
    bool moveToNextSibling();
    /// Replaces the top entry by the previous sibling's, or pops it and returns false.
    bool moveToPreviousSibling();
    /// Steps forward until the iterator of a kind stands where that kind stops, or at the end.
    template<class Kind>
    static Kind& toNextStop(Kind& iterator)
    {
        ZeNNodeIterator& node = iterator;
        do {
            ++node;
        } while (!iterator && node);
        return iterator;
    }
    /// Steps backward in the same way.
    template<class Kind>
    static Kind& toPreviousStop(Kind& iterator)
    {
        ZeNNodeIterator& node = iterator;
        do {
            --node;
        } while (!iterator && node);
        return iterator;
    }
    /// Pops entries until there is a next sibling, and moves to it. The end if there is none.
    void leaveSubtree();
    /// Pushes the last child, its last child and so on.
    void descendToLast();
    /// Pushes a child of the present node by its position.
    void push(const Path::Child* position, const Path::Child* end);

    Path path_; ///< from below the traversal root to the present node
    CbSmartPointer<ZeCTransformationNodeInner> root_;    ///< null for a leaf as traversal root
    bool atRoot_ = true;                                 ///< stands on the traversal root
    bool leafRoot_ = false;                              ///< the traversal root is a leaf
    CbSmartPointer<ZeCTransformationNodeLeaf> rootLeaf_; ///< null for an inner node

private:
    friend class ZeCTransformationNodeInner;
    friend class ZeCTransformationNodeLeaf;

    [[nodiscard]] bool equals(const ZeNNodeIterator& other) const noexcept;
    void accumulate(std::size_t level) noexcept;
    static void prefetchNode(const Path::Child& child) noexcept;
    static void prefetchChildren(const Path::Child& child) noexcept;
    static void prefetchSiblings(const Path::Child* position, const Path::Child* end) noexcept;
    [[nodiscard]] const CbMatrix4Rd& regularFatherTrafo() const;
};
