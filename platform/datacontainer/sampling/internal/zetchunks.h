#pragma once

#include "platform/base/cblargememory.h"

#include <bit>
#include <cstddef>
#include <numeric>
#include <type_traits>
#include <vector>

/// An array that grows without moving its elements. But for the first few, they lie in pieces of
/// memory that are made of whole large pages.
///
/// @tparam T of the bytes that MakeRoom has taken, elements are made by whoever uses them first
template<class T>
class ZeTChunks
{
    static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= 64);

public:
    /// Elements that lie together if the first one's index is a multiple of their number: so
    /// many, or a smaller power of two.
    static constexpr std::size_t c_together = std::bit_floor((std::size_t{512} << 10U) / sizeof(T));

    /// Makes room for @p count elements in all. Throws: std::bad_alloc; nothing has changed.
    void MakeRoom(std::size_t count)
    {
        while (pieces_.size() * c_together < count) {
            const std::size_t added = pieces_.empty() ? 1 : c_chunk / c_together;
            pieces_.reserve(pieces_.size() + added);
            chunks_.emplace_back(added * c_together * sizeof(T));
            auto* const first = reinterpret_cast<T*>(chunks_.back().Get());
            for (std::size_t i = 0; i < added; ++i) pieces_.push_back(first + i * c_together);
        }
    }
    /// The memory of an element there is room for.
    [[nodiscard]] T* At(std::size_t i) const noexcept
    {
        return pieces_[i / c_together] + i % c_together;
    }

private:
    /// The least power of two whose elements fill large pages of 2 MiB.
    static constexpr std::size_t c_chunk = (std::size_t{2} << 20U) / std::gcd(sizeof(T), 1024);
    static_assert(c_chunk % c_together == 0);

    std::vector<CbLargeMemory> chunks_; ///< the first one is smaller, where usual pages do
    std::vector<T*> pieces_;            ///< of chunks: c_together elements each
};
