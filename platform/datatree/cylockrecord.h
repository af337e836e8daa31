#pragma once

#include <cstdint>

struct CyLockThread;
struct CyDataTreeEntry;
namespace datatreetests
{
struct TestAccess;
}

/// A locking query, embedded in the handle that made it.
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

    CyLockThread* thread = nullptr;        ///< the thread that asked; null in an empty handle
    CyDataTreeEntry* entry = nullptr;      ///< the node; null when dead or void
    CyLockRecord* nextOfThread = nullptr;  ///< null for the last record of the list
    CyLockRecord** linkOfThread = nullptr; ///< the pointer that points here
    CyLockRecord* nextOfNode = nullptr;    ///< null for the last record of the list
    CyLockRecord** linkOfNode = nullptr;   ///< the pointer that points here
    /// The place in the queue that the query has a part in, 0 for none; see CyLockQueue.
    std::uint64_t place = 0;
    EState state = EState::Void; ///< void in an empty handle
    bool write = false;          ///< whether writing is asked for, or else reading
};
