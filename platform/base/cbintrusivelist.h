#pragma once

#include <cstddef>
#include <iterator>

/// What an element of a CbIntrusiveList holds for the list.
template<class T>
struct CbListLinks
{
    T* previous = nullptr; ///< of the first element: the last one
    T* next = nullptr;     ///< null for the last element
};

/// A list whose elements hold the links themselves: nothing here allocates, and the list is one
/// pointer large.
///
/// The first element points back to the last one, so that both ends are at hand:
/// @code
///   first -> a <-> b <-> c -> null        a.previous is c
/// @endcode
///
/// Lifetime: elements stay where they are while they are listed; the list does not own them. An
/// element that goes is removed first. Neither the list nor the links may be copied meanwhile.
///
/// @tparam Links the member of T that this list uses; an element may be in one list for each such
/// member
template<class T, CbListLinks<T> T::*Links>
class CbIntrusiveList
{
    // A forward iterator; a null one is the end.
    class Iterator
    {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using reference = T&;
        using pointer = T*;

        Iterator() noexcept = default;
        explicit Iterator(T* element) noexcept : element_(element) {}

        [[nodiscard]] reference operator*() const noexcept { return *element_; }
        [[nodiscard]] pointer operator->() const noexcept { return element_; }
        Iterator& operator++() noexcept
        {
            element_ = Behind(*element_);
            return *this;
        }
        Iterator operator++(int) noexcept
        {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const Iterator&, const Iterator&) noexcept = default;

    private:
        T* element_ = nullptr;
    };

public:
    /// True if there are no elements.
    [[nodiscard]] bool IsEmpty() const noexcept { return first_ == nullptr; }
    /// The ends of the list, null if it is empty.
    [[nodiscard]] T* First() const noexcept { return first_; }
    [[nodiscard]] T* Last() const noexcept
    {
        return first_ != nullptr ? (first_->*Links).previous : nullptr;
    }
    /// The neighbours of an element, null beyond the ends.
    [[nodiscard]] T* Before(const T& element) const noexcept
    {
        return &element != first_ ? (element.*Links).previous : nullptr;
    }
    [[nodiscard]] static T* Behind(const T& element) noexcept { return (element.*Links).next; }

    /// Puts an element, which is in no list of this kind, at the front.
    void PushFront(T& element) noexcept
    {
        (element.*Links).next = first_;
        (element.*Links).previous = first_ != nullptr ? (first_->*Links).previous : &element;
        if (first_ != nullptr) (first_->*Links).previous = &element;
        first_ = &element;
    }
    /// Puts an element, which is in no list of this kind, behind @p before; null puts it at the
    /// front.
    void InsertBehind(T* before, T& element) noexcept
    {
        if (before == nullptr) return PushFront(element);
        T* const next = (before->*Links).next;
        (element.*Links) = {before, next};
        (before->*Links).next = &element;
        ((next != nullptr ? next : first_)->*Links).previous = &element;
    }
    /// Puts an element, which is in no list of this kind, at the end.
    void PushBack(T& element) noexcept { InsertBehind(Last(), element); }

    /// Takes an element of this list out.
    void Remove(T& element) noexcept
    {
        const auto [previous, next] = element.*Links;
        if (&element != first_) {
            (previous->*Links).next = next;
            ((next != nullptr ? next : first_)->*Links).previous = previous;
        } else {
            if (next != nullptr) (next->*Links).previous = previous;
            first_ = next;
        }
        element.*Links = {};
    }
    /// Puts @p element, which is in no list of this kind, in the place of @p old.
    void Replace(T& old, T& element) noexcept
    {
        const auto [previous, next] = old.*Links;
        (element.*Links) = {previous != &old ? previous : &element, next};
        if (&old != first_) {
            (previous->*Links).next = &element;
        } else {
            first_ = &element;
        }
        ((next != nullptr ? next : first_)->*Links).previous = &element;
        old.*Links = {};
    }

    /// The elements in their order. Lifetime: an iterator holds until its element is removed.
    [[nodiscard]] Iterator begin() const noexcept { return Iterator(first_); }
    [[nodiscard]] Iterator end() const noexcept { return Iterator(); }

private:
    T* first_ = nullptr;
};
