#pragma once

#include "platform/datatree/internal/cydatatreesearch.h"

#include <cstddef>

struct CyLockThread;

/// What is known in a run of removals or moves by one thread, while the mutex is held.
///
/// A node may be taken out or moved if the thread's locks cover it for writing, or if no
/// other thread holds a lock at, above or below it. The first two are found by climbing:
///
///   covered  the thread holds a write lock here or above, so nobody else holds any
///   held     another thread holds a lock here or above
///   free     neither
///
/// A climb marks the nodes that it passed with the answer, and the next one ends there: looking at
/// all nodes of a chain costs one climb. Nobody is granted a lock meanwhile, so marks stay true
/// until a node is moved to where the answer is another one. What is covered is stamped, too, as
/// CyLockEngine says, and so known to later edits.
struct CyDataTreeEdit
{
    static constexpr unsigned c_covered = 1;
    static constexpr unsigned c_held = 2;
    static constexpr unsigned c_free = 4;
    static constexpr unsigned c_answers = c_covered | c_held | c_free;
    static constexpr unsigned c_aboveFather = 8; ///< the new father or above it

    CyLockThread* thread;       ///< null for one that has had no handle
    CyDataTreeEntry* newFather; ///< null if nodes are removed
    CyDataTreeSearch search;
    bool isFatherMarked = false; ///< c_aboveFather is set, and the next two members
    bool othersRead = false;     ///< another thread holds a read lock at or above the new father
    bool othersWrite = false;    ///< or a write lock
    bool hasMoved = false;
    bool usedStamps = false;      ///< some climb of the search ended at a stamp
    std::size_t longestClimb = 0; ///< number of nodes that the longest one passed
};
