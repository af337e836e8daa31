#pragma once

#include "platform/base/cbhashkey.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <utility>
#include <vector>

/// Hash map from K to V.
///
/// The bucket of a key is its hash modulo the number of buckets, a power of two that grows with the
/// number of entries. Entries of one bucket form a chain. All entries lie in one array and are
/// linked by index, so an entry is no allocation of its own; the place of a removed one is used
/// again. K and V have default values, and moving them does not throw.
///
/// Values that leave the map are destroyed after the map has changed, so their destructors may use
/// it.
///
/// @code
/// for (const auto& [id, node] : map) visit(id, node);
/// @endcode
///
/// Threads: const operations may run side by side.
template<class K, class V, class Hash = CbHashKey<K>>
class CbMap
{
    static constexpr std::uint32_t c_none = 0xFFFFFFFF;

    struct Entry
    {
        K key;
        V value;
        std::uint32_t next; ///< in the chain, or in the list of free places
    };

    template<class Map, class Value>
    class Iterator;

public:
    /// What iteration yields.
    template<class Value>
    struct Item
    {
        const K& key; ///< decides where the entry stands
        Value& value; ///< may be assigned to, unless the map is const
    };

    /// Visits the entries in the order of the buckets, within a bucket in the order of the chain.
    /// Lifetime: until the map is changed; values may be changed in place.
    using iterator = Iterator<CbMap, V>;
    using const_iterator = Iterator<const CbMap, const V>;

    /// A new map has no memory yet; a map moved from is empty.
    CbMap() = default;
    CbMap(const CbMap&) = default;
    CbMap(CbMap&& other) noexcept { Swap(other); }
    CbMap& operator=(CbMap other) noexcept
    {
        Swap(other);
        return *this;
    }
    ~CbMap() = default;

    /// Number of entries, and whether there are none.
    [[nodiscard]] std::size_t GetCount() const noexcept { return count_; }
    [[nodiscard]] bool IsEmpty() const noexcept { return count_ == 0; }

    /// Returns the value of a key, or null. Lifetime: until the map is changed.
    [[nodiscard]] V* Find(const K& key) { return const_cast<V*>(std::as_const(*this).Find(key)); }
    [[nodiscard]] const V* Find(const K& key) const
    {
        if (count_ == 0) return nullptr;
        for (std::uint32_t at = buckets_[bucketOf(key)]; at != c_none; at = entries_[at].next) {
            if (entries_[at].key == key) return &entries_[at].value;
        }
        return nullptr;
    }

    /// Gives a key its value, in place of the one it had.
    /// Cost: amortised constant. If memory runs out the map is as it was.
    void Set(const K& key, V value)
    {
        if (V* const old = Find(key)) {
            std::swap(*old, value);
            return;
        }
        const std::uint32_t at = placeFor(key, std::move(value));
        link(at);
        ++count_;
    }

    /// Removes a key and returns the value it had, or the default value if it was absent.
    V Take(const K& key)
    {
        if (count_ == 0) return V{};
        std::uint32_t* link = &buckets_[bucketOf(key)];
        while (*link != c_none && !(entries_[*link].key == key)) link = &entries_[*link].next;
        if (*link == c_none) return V{};

        const std::uint32_t at = *link;
        Entry& entry = entries_[at];
        *link = std::exchange(entry.next, firstFree_);
        firstFree_ = at;
        --count_;
        V value = std::exchange(entry.value, V{});
        [[maybe_unused]] const K gone = std::exchange(entry.key, K{});
        return value;
    }

    /// Removes a key; an absent one is no error.
    void Remove(const K& key) { (void)Take(key); }

    /// Removes all entries and gives the memory back.
    void Empty() noexcept { CbMap().Swap(*this); }

    /// Makes room for a number of entries, so that they can be set without a failure.
    /// Cost: amortised like that of Set(), so it may be called before each one.
    void Reserve(std::size_t count)
    {
        if (count > entries_.capacity()) entries_.reserve(std::max(count, 2 * entries_.capacity()));
        if (count > buckets_.size() / 2) grow(count);
    }

    /// Exchanges all entries; iterators are not to be used any more.
    void Swap(CbMap& other) noexcept
    {
        entries_.swap(other.entries_);
        buckets_.swap(other.buckets_);
        std::swap(count_, other.count_);
        std::swap(firstFree_, other.firstFree_);
    }

    /// The entries; see iterator.
    [[nodiscard]] iterator begin() { return iterator(*this); }
    [[nodiscard]] iterator end() { return iterator(); }
    [[nodiscard]] const_iterator begin() const { return const_iterator(*this); }
    [[nodiscard]] const_iterator end() const { return const_iterator(); }

private:
    [[nodiscard]] std::size_t bucketOf(const K& key) const
    {
        return Hash{}(key) & (buckets_.size() - 1);
    }

    [[nodiscard]] std::uint32_t placeFor(const K& key, V&& value)
    {
        if (firstFree_ == c_none) {
            if (entries_.size() == c_none) throw std::length_error("CbMap: too many entries");
            if (entries_.size() == buckets_.size() / 2) grow(entries_.size() + 1);
            entries_.push_back({key, std::move(value), c_none});
            return static_cast<std::uint32_t>(entries_.size() - 1);
        }
        const std::uint32_t at = firstFree_;
        Entry& entry = entries_[at];
        entry.key = key;
        entry.value = std::move(value);
        firstFree_ = entry.next;
        return at;
    }

    void link(std::uint32_t at) noexcept
    {
        std::uint32_t& first = buckets_[bucketOf(entries_[at].key)];
        entries_[at].next = first;
        first = at;
    }

    void grow(std::size_t count)
    {
        constexpr std::size_t c_fewest = 16;
        std::vector<std::uint32_t> old(std::max(c_fewest, 2 * std::bit_ceil(count)), c_none);
        buckets_.swap(old);
        if (firstFree_ == c_none) { // all are linked: quicker in the order in which they lie
            for (std::uint32_t at = 0; at < entries_.size(); ++at) link(at);
            return;
        }
        for (const std::uint32_t first : old) {
            for (std::uint32_t at = first; at != c_none;)
                link(std::exchange(at, entries_[at].next));
        }
    }

    std::vector<Entry> entries_;         ///< at most half as many as there are buckets
    std::vector<std::uint32_t> buckets_; ///< first entry of each chain; none or a power of two
    std::size_t count_ = 0;
    std::uint32_t firstFree_ = c_none;
};

/// A forward iterator; one of no map equals the end.
template<class K, class V, class Hash>
template<class Map, class Value>
class CbMap<K, V, Hash>::Iterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using iterator_concept = std::forward_iterator_tag;
    using value_type = Item<Value>;
    using difference_type = std::ptrdiff_t;
    using reference = Item<Value>;
    using pointer = void;

    Iterator() = default;
    explicit Iterator(Map& map) : map_(&map) { toNextBucket(); }

    [[nodiscard]] reference operator*() const
    {
        auto& entry = map_->entries_[at_];
        return {entry.key, entry.value};
    }
    Iterator& operator++()
    {
        at_ = map_->entries_[at_].next;
        if (at_ == c_none) toNextBucket();
        return *this;
    }
    Iterator operator++(int)
    {
        Iterator before = *this;
        ++*this;
        return before;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) noexcept { return a.at_ == b.at_; }

private:
    void toNextBucket()
    {
        while (at_ == c_none && bucket_ < map_->buckets_.size()) at_ = map_->buckets_[bucket_++];
    }

    Map* map_ = nullptr;
    std::size_t bucket_ = 0; ///< the one behind the current chain
    std::uint32_t at_ = c_none;
};
