#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

/// Hash of a key of CbMap: std::hash with its bits spread, so that any number of low bits picks a
/// bucket well. Standard libraries hash an integer or a pointer to itself.
template<class K>
struct CbHashKey
{
    /// The hash of a key, equal for equal keys. Cost: one multiplication beside std::hash.
    [[nodiscard]] std::size_t operator()(const K& key) const noexcept
    {
        // Fibonacci hashing (Knuth, The Art of Computer Programming 6.4) between two folds: the
        // first one brings high bits into the product, the second one its high bits to the low end.
        constexpr std::uint64_t c_golden = 0x9E3779B97F4A7C15;
        std::uint64_t bits = std::hash<K>{}(key);
        bits = (bits ^ bits >> 32) * c_golden;
        return static_cast<std::size_t>(bits ^ bits >> 32);
    }
};
