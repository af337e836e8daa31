#pragma once

#include <cstddef>
#include <utility>
#include <vector>

/// Growing array of the interfaces: a std::vector under the application's names.
///
/// Lifetime: references to elements and iterators hold until elements are added or removed.
template<class T>
class CbArray
{
public:
    /// Number of elements, and whether there are none.
    [[nodiscard]] std::size_t GetCount() const noexcept { return elements_.size(); }
    [[nodiscard]] bool IsEmpty() const noexcept { return elements_.empty(); }

    /// The caller sees to it that @p index is below GetCount().
    [[nodiscard]] T& operator[](std::size_t index) { return elements_[index]; }
    [[nodiscard]] const T& operator[](std::size_t index) const { return elements_[index]; }

    /// Adds an element at the end.
    void Append(T element) { elements_.push_back(std::move(element)); }
    /// Makes room for @p count elements in all. Throws: std::length_error, std::bad_alloc.
    void Reserve(std::size_t count) { elements_.reserve(count); }
    /// Removes all elements and keeps the memory.
    void Empty() noexcept { elements_.clear(); }

    /// The elements in their order.
    [[nodiscard]] auto begin() noexcept { return elements_.begin(); }
    [[nodiscard]] auto end() noexcept { return elements_.end(); }
    [[nodiscard]] auto begin() const noexcept { return elements_.begin(); }
    [[nodiscard]] auto end() const noexcept { return elements_.end(); }

    friend bool operator==(const CbArray&, const CbArray&) = default;

private:
    std::vector<T> elements_;
};
