#pragma once

#include <cstdint>

class CyNode;
struct CyLockRecord;

/// What a data manager keeps inside a node: its place in the data tree and the locks around it.
///
/// Only the manager that holds the node reads or writes an entry, under its mutex. A node outside
/// any manager has all links null and all counters 0.
struct CyDataTreeEntry
{
    explicit CyDataTreeEntry(CyNode& node) noexcept : owner(&node) {}
    CyDataTreeEntry(const CyDataTreeEntry&) = delete;
    CyDataTreeEntry& operator=(const CyDataTreeEntry&) = delete;
    ~CyDataTreeEntry() = default;

    CyNode* const owner;

    CyDataTreeEntry* parent = nullptr;
    CyDataTreeEntry* firstChild = nullptr;
    CyDataTreeEntry* lastChild = nullptr;
    CyDataTreeEntry* previous = nullptr;
    CyDataTreeEntry* next = nullptr;

    CyLockRecord* granted = nullptr; ///< granted locks on this node
    CyLockRecord* pending = nullptr; ///< queries on this node that are not granted yet

    std::uint32_t readsHere = 0;   ///< granted read locks on this node
    std::uint32_t writesHere = 0;  ///< granted write locks on this node
    std::uint32_t readsBelow = 0;  ///< granted read locks strictly below
    std::uint32_t writesBelow = 0; ///< granted write locks strictly below

    /// Which thread's locks cover the node, as of which of its epochs; see CyLockEngine.
    std::uint64_t coverStamp = 0;
    /// Which requests are in the way here, as of the last search; see CyLockQueue.
    std::uint64_t queueMark = 0;
};
