#pragma once

#include "platform/base/cbsmartpointer.h"
#include "transformationtree/nodes/zectransformationnode.h"

#include <cstddef>
#include <vector>

/// The children of an inner node, in their order: a vector that lets each child count the entries
/// that name it. A child that is named by more entries than its father's one stands in a list that
/// is not its father's as well. Entries may be null.
///
/// Threads: as a vector; the counts are safe beside each other, since readers copy lists.
class TRANSFORMATIONTREE_API ZeCChildList
{
public:
    /// An entry, and all of them as a plain vector, which counts nothing.
    using Child = CbSmartPointer<ZeCTransformationNode>;
    using Children = std::vector<Child>;

    ZeCChildList() = default;
    /// Lists these children.
    explicit ZeCChildList(Children children) noexcept;
    /// Lists the same children.
    ZeCChildList(const ZeCChildList& other);
    ZeCChildList& operator=(const ZeCChildList&) = delete;
    ~ZeCChildList();

    /// The children, to be read.
    [[nodiscard]] const Children& operator*() const noexcept { return children_; }
    [[nodiscard]] const Children* operator->() const noexcept { return &children_; }
    /// Positions whose entries are not to be assigned.
    [[nodiscard]] Children::iterator begin() noexcept { return children_.begin(); }
    [[nodiscard]] Children::iterator end() noexcept { return children_.end(); }

    /// Makes room for a number of children altogether.
    void Reserve(std::size_t number) { children_.reserve(number); }
    /// Inserts a child at an index. Throws: std::bad_alloc if there is no room; nothing changes.
    void Insert(std::size_t index, Child child);
    /// Inserts children behind the others. Throws: as Insert().
    void Append(const Children& children);
    /// Puts a child in the place of another one.
    void Replace(std::size_t index, Child child) noexcept;
    /// Erases the entry at an index.
    void Erase(std::size_t index) noexcept;
    /// Erases the entries that fulfil a condition; returns how many there were.
    template<class Condition>
    std::size_t EraseIf(const Condition& condition)
    {
        return std::erase_if(children_, [&](const Child& child) {
            const bool erased = condition(child);
            if (erased) uncount(child);
            return erased;
        });
    }
    /// Takes the last entry away.
    [[nodiscard]] Child TakeLast() noexcept;
    /// Turns the order round.
    void Reverse() noexcept;
    /// Erases all entries.
    void Clear() noexcept;
    void Swap(ZeCChildList& other) noexcept { children_.swap(other.children_); }

private:
    static void count(const Child& child) noexcept;
    static void uncount(const Child& child) noexcept;

    Children children_;
};
