#pragma once

#include "platform/base/cbintrusivelist.h"

#include <cstdint>

struct CyLockThread;
struct CyDataTreeEntry;
namespace datatreetests
{
struct TestAccess;
}

/// A locking query, embedded in the handle that made it.
///
/// @code
///              asked for                all queries of the thread are granted
///   unused ---------------> Pending --------------------------------------> Granted
///                              | the node leaves the manager                   | the same
///                              v                                               v
///                             Dead (Void: the handle that takes it out)      Void
///
///   Any state becomes unused again when its handle is released.
/// @endcode
///
/// Threads: all but @c thread is guarded by the mutex of the data manager; @c thread is written by
/// the handle alone and stays while the record is in use, so that the mutex can be found.
struct CyLockRecord
{
    /// What has become of the query.
    enum class EState : std::uint8_t
    {
        Pending, ///< asked for, not granted
        Granted, ///< locked
        Dead,    ///< was pending when its node left the manager; never to be granted
        Void     ///< was granted when its node left the manager; counts for nothing
    };

    CyLockThread* thread = nullptr;   ///< the thread that asked; null in an empty handle
    CyDataTreeEntry* entry = nullptr; ///< the node; null when dead or void
    // A pending record is in the pending lists of its thread and of its node, a granted one in the
    // granted lists, any other in none.
    CbListLinks<CyLockRecord> ofThread; ///< its place there
    CbListLinks<CyLockRecord> ofNode;   ///< likewise
    /// The place in the queue that the query has a part in, 0 for none.
    std::uint64_t place = 0;
    EState state = EState::Void; ///< void in an empty handle
    bool write = false;          ///< whether writing is asked for, or else reading
};

/// Records of one thread, and records on one node.
using CyLockRecordsOfThread = CbIntrusiveList<CyLockRecord, &CyLockRecord::ofThread>;
using CyLockRecordsOfNode = CbIntrusiveList<CyLockRecord, &CyLockRecord::ofNode>;
