#include "transformationtree/nodes/zecchildlist.h"

#include <algorithm>
#include <utility>

// A child is uncounted while something still holds it: its entry may be the last reference.

ZeCChildList::ZeCChildList(Children children) noexcept : children_(std::move(children))
{
    std::for_each(children_.begin(), children_.end(), count);
}

ZeCChildList::ZeCChildList(const ZeCChildList& other) : ZeCChildList(Children(other.children_)) {}

ZeCChildList::~ZeCChildList() { Clear(); }

void ZeCChildList::Insert(std::size_t index, Child child)
{
    const auto place = children_.begin() + static_cast<std::ptrdiff_t>(index);
    // Counts what stands in the list, which is nothing if there is no room.
    count(*children_.insert(place, std::move(child)));
}

void ZeCChildList::Append(const Children& children)
{
    children_.insert(children_.end(), children.begin(), children.end());
    std::for_each(children.begin(), children.end(), count);
}

void ZeCChildList::Replace(std::size_t index, Child child) noexcept
{
    count(child);
    children_[index].Swap(child);
    uncount(child);
}

void ZeCChildList::Erase(std::size_t index) noexcept
{
    uncount(children_[index]);
    children_.erase(children_.begin() + static_cast<std::ptrdiff_t>(index));
}

ZeCChildList::Child ZeCChildList::TakeLast() noexcept
{
    Child last = std::move(children_.back());
    children_.pop_back();
    uncount(last);
    return last;
}

void ZeCChildList::Reverse() noexcept { std::reverse(children_.begin(), children_.end()); }

void ZeCChildList::Clear() noexcept
{
    std::for_each(children_.begin(), children_.end(), uncount);
    children_.clear();
}

// Relaxed: the count orders nothing else. Edits, which look at it, hold write handles.
void ZeCChildList::count(const Child& child) noexcept
{
    if (child) child->listed_.fetch_add(1, std::memory_order_relaxed);
}

void ZeCChildList::uncount(const Child& child) noexcept
{
    if (child) child->listed_.fetch_sub(1, std::memory_order_relaxed);
}
