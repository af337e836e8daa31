#pragma once

#include "platform/base/cbsmartpointer.h"
#include "platform/math3d/cbmatrix4.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

class ZeCTransformationNode;

/// The path of a node iterator: one entry for each level below the traversal root.
///
/// @code
/// root                  it has no entry
///  +- a                 entry 0:  position -> [a] b | end     trafo: a's
///  |  +- d
///  |  +- e   <- here    Top():    position -> d [e] f | end   trafo: e's, then that of entry 0
///  |  +- f
///  +- b
/// @endcode
///
/// Positions and ends point into the fathers' lists of children, so that an entry owns nothing.
///
/// Eight levels stand in the object itself, so that walks of ordinary trees allocate nothing. A
/// deeper path moves to the heap as a whole.
class ZeCTransformationPath
{
public:
    /// What fathers hold.
    using Child = CbSmartPointer<ZeCTransformationNode>;

    /// One level.
    struct Entry
    {
        const Child* position;         ///< the node, in its father's children
        const Child* end;              ///< end of the father's children
        mutable std::uint64_t regular; ///< 1 once the transformation is known to be invertible
        std::uint64_t unused;          ///< keeps the matrix aligned
        CbMatrix4Rd trafo;             ///< from the node's frame into the traversal root's
    };

    /// Empty, as a moved path is. Copies throw std::bad_alloc beyond eight levels.
    ZeCTransformationPath() noexcept = default;
    ZeCTransformationPath(const ZeCTransformationPath& other) { assign(other); }
    ZeCTransformationPath(ZeCTransformationPath&& other) noexcept { take(other); }
    ZeCTransformationPath& operator=(const ZeCTransformationPath& other)
    {
        if (this != &other) assign(other);
        return *this;
    }
    ZeCTransformationPath& operator=(ZeCTransformationPath&& other) noexcept
    {
        if (this != &other) take(other);
        return *this;
    }
    ~ZeCTransformationPath() = default;

    /// The entries, from the one below the traversal root down; Top() is the last. Not to be
    /// called for entries that are not there.
    [[nodiscard]] bool IsEmpty() const noexcept { return size_ == 0; }
    [[nodiscard]] std::size_t GetSize() const noexcept { return size_; }
    [[nodiscard]] Entry& operator[](std::size_t i) noexcept { return entries_[i]; }
    [[nodiscard]] const Entry& operator[](std::size_t i) const noexcept { return entries_[i]; }
    [[nodiscard]] Entry& Top() noexcept { return entries_[size_ - 1]; }
    [[nodiscard]] const Entry& Top() const noexcept { return entries_[size_ - 1]; }
    /// Takes the last entry away, or all.
    void Pop() noexcept { --size_; }
    void Clear() noexcept { size_ = 0; }

    /// Adds an entry, whose contents the caller writes. Invalidates references to entries.
    Entry& Push()
    {
        if (size_ == capacity_) grow(2 * capacity_);
        return entries_[size_++];
    }

private:
    static constexpr std::size_t c_inlineLevels = 8;
    static_assert(std::is_trivially_copyable_v<Entry>);

    // Storage without contents: entries are written when they are pushed.
    struct alignas(Entry) Storage
    {
        std::byte bytes[sizeof(Entry)];
    };

    static Entry* entriesIn(Storage* storage) noexcept { return reinterpret_cast<Entry*>(storage); }

    void grow(std::size_t capacity)
    {
        std::unique_ptr<Storage[]> larger(new Storage[capacity]);
        std::memcpy(static_cast<void*>(larger.get()), entries_, size_ * sizeof(Entry));
        heap_ = std::move(larger);
        entries_ = entriesIn(heap_.get());
        capacity_ = capacity;
    }

    void assign(const ZeCTransformationPath& other)
    {
        size_ = 0; // nothing of the old path is kept when the storage grows
        if (other.size_ > capacity_) grow(other.size_);
        for (std::size_t i = 0; i < other.size_; ++i) {
            const Entry& from = other.entries_[i];
            // Without the mark, which other readers of the original may be setting.
            entries_[i] = {from.position, from.end, 0, 0, from.trafo};
        }
        size_ = other.size_;
    }

    void take(ZeCTransformationPath& other) noexcept
    {
        if (other.heap_) {
            heap_ = std::move(other.heap_);
            entries_ = entriesIn(heap_.get());
            capacity_ = other.capacity_;
            size_ = other.size_;
            other.entries_ = entriesIn(other.inline_);
            other.capacity_ = c_inlineLevels;
        } else {
            assign(other);
        }
        other.size_ = 0;
    }

    Storage inline_[c_inlineLevels];
    std::unique_ptr<Storage[]> heap_;
    Entry* entries_ = entriesIn(inline_);
    std::size_t size_ = 0;
    std::size_t capacity_ = c_inlineLevels;
};
