#pragma once

#include "platform/datatree/cydatamanager.h"
#include "platform/datatree/internal/cylockengine.h"

#include <gtest/gtest.h>

using Read = CyDataHandleLockOnly<0>;
using Write = CyDataHandleLockOnly<1>;

namespace datatreetests
{

/// What tests of the data tree need of its private parts: logical threads, whose steps a test
/// decides one by one and at times of its own, and a recount of the locks.
struct TestAccess
{
    using Clock = CyLockEngine::Clock;
    using EOutcome = CyLockEngine::EOutcome;

    static CyLockEngine& Engine(const CyDataManager& manager) { return *manager.engine_; }

    /// Records a query of a logical thread in an empty handle.
    template<int kind>
    static void Ask(CyDataHandleLockOnly<kind>& handle, CyLockThread& thread, CyNode& node)
    {
        const CyDataTreeMutexLock lock(thread.engine.mutex);
        thread.engine.Ask(thread, node.entry_, kind == 1, handle.record_);
    }

    static EOutcome Attempt(CyLockThread& thread, Clock::time_point now)
    {
        const CyDataTreeMutexLock lock(thread.engine.mutex);
        return thread.engine.Attempt(thread, now);
    }
    static void StartWaiting(CyLockThread& thread)
    {
        const CyDataTreeMutexLock lock(thread.engine.mutex);
        thread.engine.queue_.StartWaiting(thread, {});
    }
    /// True where a thread that waits was woken.
    static bool IsWoken(const CyLockThread& thread)
    {
        const CyDataTreeMutexLock lock(thread.engine.mutex);
        return thread.blocker.IsNone();
    }
    /// The older request that a thread is behind, or null.
    static const CyLockThread* GetOlder(const CyLockThread& thread)
    {
        const CyDataTreeMutexLock lock(thread.engine.mutex);
        return thread.blocker.older;
    }
    static void StopWaiting(CyLockThread& thread, Clock::time_point now)
    {
        const CyDataTreeMutexLock lock(thread.engine.mutex);
        thread.engine.queue_.StopWaiting(thread, now);
    }
    /// Removes nodes for a logical thread or, below a new father, moves them.
    static std::size_t EditNodes(CyDataManager& manager, CyLockThread& thread,
                                 const std::vector<CbSmartPointer<CyNode>>& nodes,
                                 CyNode* newFather)
    {
        return manager.editNodes(&thread, CyNodeView(nodes), newFather);
    }
    static void End(CyLockThread& thread)
    {
        const CyDataTreeMutexLock lock(thread.engine.mutex);
        EXPECT_TRUE(thread.engine.EndThread(thread, 1)) << "a logical thread left handles behind";
    }
    static bool IsAnybodyWaiting(const CyDataManager& manager)
    {
        const CyDataTreeMutexLock lock(manager.engine_->mutex);
        return !manager.engine_->queue_.IsEmpty();
    }
    template<int kind>
    static CyLockRecord::EState State(const CyDataHandleLockOnly<kind>& handle)
    {
        return handle.record_.state;
    }

    /// Counts the granted locks anew and compares all counters and links.
    static void CheckCounters(const CyDataManager& manager)
    {
        const CyDataTreeMutexLock lock(manager.engine_->mutex);
        const auto sum = recount(manager.top_->entry_, &manager);
        EXPECT_EQ(sum.reads + sum.writes, manager.engine_->granted_);
    }

private:
    struct Locks
    {
        std::uint32_t reads = 0;
        std::uint32_t writes = 0;
    };

    static Locks recount(const CyDataTreeEntry& entry, const CyDataManager* manager)
    {
        EXPECT_EQ(entry.owner->GetDataManager(), manager);
        Locks below;
        const CyDataTreeEntry* last = nullptr;
        for (const CyDataTreeEntry& child : entry.children) {
            EXPECT_EQ(child.parent, &entry);
            EXPECT_EQ(entry.children.Before(child), last);
            last = &child;
            const auto locks = recount(child, manager);
            below.reads += locks.reads;
            below.writes += locks.writes;
        }
        EXPECT_EQ(entry.children.Last(), last);
        Locks here;
        for (const CyLockRecord& record : entry.granted) {
            EXPECT_EQ(record.entry, &entry);
            EXPECT_EQ(record.state, CyLockRecord::EState::Granted);
            ++(record.write ? here.writes : here.reads);
        }
        for (const CyLockRecord& record : entry.pending) {
            EXPECT_EQ(record.state, CyLockRecord::EState::Pending);
        }
        EXPECT_EQ(entry.countHere.GetReads(), here.reads);
        EXPECT_EQ(entry.countHere.GetWrites(), here.writes);
        EXPECT_EQ(entry.countBelow.GetReads(), below.reads);
        EXPECT_EQ(entry.countBelow.GetWrites(), below.writes);
        return {here.reads + below.reads, here.writes + below.writes};
    }
};

} // namespace datatreetests

using datatreetests::TestAccess;

/// A data manager with nodes top(a(b(c),d),e).
struct SmallTree
{
    SmallTree()
    {
        a = Insert(manager.GetTopNode());
        b = Insert(a);
        c = Insert(b);
        d = Insert(a);
        e = Insert(manager.GetTopNode());
    }

    CbSmartPointer<CyNode> Insert(const CbSmartPointer<CyNode>& father)
    {
        auto node = CbMake<CyNode>();
        EXPECT_TRUE(manager.InsertNode(father, node));
        return node;
    }

    CyDataManager manager;
    CbSmartPointer<CyNode> a, b, c, d, e;
};
