#pragma once

#include "platform/base/cbintrusivelist.h"
#include "platform/datatree/cylockrecord.h"

#include <cstdint>

class CyNode;
namespace datatreetests
{
struct TestAccess;
}

/// Number of read locks and of write locks, in one word: every lock adds to each node above it.
class CyLockCounts
{
public:
    constexpr CyLockCounts() = default;
    /// So many locks of each kind.
    constexpr CyLockCounts(std::uint32_t reads, std::uint32_t writes) noexcept
        : word_(std::uint64_t{writes} << 32 | reads)
    {}

    /// The two numbers, and whether both are 0.
    [[nodiscard]] std::uint32_t GetReads() const noexcept
    {
        return static_cast<std::uint32_t>(word_);
    }
    [[nodiscard]] std::uint32_t GetWrites() const noexcept
    {
        return static_cast<std::uint32_t>(word_ >> 32);
    }
    [[nodiscard]] bool IsZero() const noexcept { return word_ == 0; }
    /// True if a query of another thread can't stand beside these locks.
    [[nodiscard]] bool Excludes(bool write) const noexcept
    {
        return write ? word_ != 0 : GetWrites() != 0;
    }

    /// Adds part by part. No sum is above 2^32-1.
    CyLockCounts& operator+=(CyLockCounts other) noexcept
    {
        word_ += other.word_;
        return *this;
    }
    friend CyLockCounts operator+(CyLockCounts a, CyLockCounts b) noexcept { return a += b; }
    /// Subtracts part by part.
    /// @param other no part of it is greater than this
    CyLockCounts& operator-=(CyLockCounts other) noexcept
    {
        word_ -= other.word_;
        return *this;
    }

private:
    std::uint64_t word_ = 0;
};

/// What a data manager keeps inside a node: its place in the data tree and the locks around it.
///
/// Only the manager that holds the node reads or writes an entry, under its mutex. A node outside
/// any manager has all links null and all counters 0.
struct CyDataTreeEntry
{
    /// The entry of a node outside any manager.
    explicit CyDataTreeEntry(CyNode& node) noexcept : owner(&node) {}
    CyDataTreeEntry(const CyDataTreeEntry&) = delete;
    CyDataTreeEntry& operator=(const CyDataTreeEntry&) = delete;
    ~CyDataTreeEntry() = default;

    /// Becomes the last child of @p father. It has no parent so far.
    void LinkLast(CyDataTreeEntry& father) noexcept;
    /// Leaves its parent, if it has one; what is below stays below.
    void Unlink() noexcept;

    // What a climb to the top looks at, side by side.
    CyDataTreeEntry* parent = nullptr; ///< null for the top node
    CyLockCounts countHere;            ///< granted locks on this node
    CyLockCounts countBelow;           ///< granted locks strictly below
    CyLockRecordsOfNode granted;       ///< granted locks on this node
    CyLockRecordsOfNode pending;       ///< queries on this node that are not granted yet
    /// Which thread's locks cover the node, as of which of its epochs.
    std::uint64_t coverStamp = 0;
    /// What the last search found out here: its number above eight flags.
    std::uint64_t searchMark = 0;

    CyNode* const owner;                   ///< the node that this is inside of
    CbListLinks<CyDataTreeEntry> siblings; ///< the place among the parent's children
    CbIntrusiveList<CyDataTreeEntry, &CyDataTreeEntry::siblings> children; ///< in their order
};
