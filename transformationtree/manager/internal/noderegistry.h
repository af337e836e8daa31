#pragma once

#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbhashkey.h"
#include "platform/base/cbmap.h"
#include "transformationtree/manager/internal/nodepointers.h"

/// The nodes by their ids. A registered node is kept alive.
///
/// Threads: safe, but for what is named Unguarded. Sections: enters the manager's section, and
/// inside it no other one but a node's own, to log its description. References are given back after
/// it has left the section again.
class NodeRegistry
{
public:
    using Map = CbMap<CyUniqueID, NodePointer, CbHashKey<CyUniqueID>>;

    /// @param section the manager's; outlives this
    explicit NodeRegistry(CbCriticalSection& section) noexcept : section_(section) {}

    /// Registers a new node under its id, in place of what the id held.
    void InitCreatedTransformationNode(const NodePointer& node);
    /// The same for several nodes: for all of them or, if memory runs out, for none.
    void RegisterNodes(const BorrowedNodes& nodes);
    /// Drops what the node's id holds.
    void DeleteNode(const ZeCTransformationNode& node);
    /// The node that is registered under the id, or null.
    [[nodiscard]] NodePointer GetNodeByID(const CyUniqueID& id) const;
    /// Logs all ids and descriptions as debug detail, between lines with the tag. Does nothing
    /// unless that is enabled.
    void LogIDMap(const char* tag) const noexcept;

    /// The map itself, for the checks: no other thread may edit it meanwhile.
    [[nodiscard]] Map& GetUnguardedMap() noexcept CB_NO_THREAD_SAFETY_ANALYSIS { return idMap_; }
    [[nodiscard]] const Map& GetUnguardedMap() const noexcept CB_NO_THREAD_SAFETY_ANALYSIS
    {
        return idMap_;
    }

private:
    NodePointer registerNode(const NodePointer& node) CB_REQUIRES(section_);

    CbCriticalSection& section_;
    Map idMap_ CB_GUARDED_BY(section_);
};
