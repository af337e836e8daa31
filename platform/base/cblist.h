#pragma once

#include <list>
#include <utility>

/// Doubly linked list of the interfaces: a std::list under the application's names.
///
/// @tparam BlockSize part of the type as interfaces name it; memory is the standard library's
/// business
/// @tparam Count type of the number of elements
///
/// Lifetime: references to elements and iterators hold until the element is removed.
template<class T, unsigned BlockSize = 17, class Count = unsigned int>
class CbList
{
public:
    /// Number of elements, and whether there are none.
    [[nodiscard]] Count GetCount() const noexcept { return static_cast<Count>(elements_.size()); }
    [[nodiscard]] bool IsEmpty() const noexcept { return elements_.empty(); }

    /// Adds an element at the end.
    void Append(T element) { elements_.push_back(std::move(element)); }
    /// Removes all elements.
    void Empty() noexcept { elements_.clear(); }

    /// The elements in their order.
    [[nodiscard]] auto begin() noexcept { return elements_.begin(); }
    [[nodiscard]] auto end() noexcept { return elements_.end(); }
    [[nodiscard]] auto begin() const noexcept { return elements_.begin(); }
    [[nodiscard]] auto end() const noexcept { return elements_.end(); }

private:
    std::list<T> elements_;
};
