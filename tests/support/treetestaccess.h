#pragma once

#include "platform/base/cbsingleton.h"
#include "transformationtree/manager/internal/managerparts.h"
#include "transformationtree/manager/zectransformationnodemanager.h"
#include "transformationtree/models/zecleafnodevector.h"

/// Destroys a singleton, so that the next test finds a new one.
template<class T>
void DestroySingleton()
{
    struct Access : CbSingleton<T>
    {
        using CbSingleton<T>::destroy;
    };
    Access::destroy();
}

/// The node manager in use, a new one where there is none.
inline ZeCTransformationNodeManager& TheManager()
{
    return CbSingleton<ZeCTransformationNodeManager>::GetInstance();
}

namespace treetests
{

/// What tests of the tree need of the nodes' private parts.
struct TestAccess
{
    /// The children themselves, to build trees that no edit would make.
    static ZeCChildList& Children(ZeCTransformationNodeInner& inner) { return inner.children_; }
    static void SetFather(ZeCTransformationNode& node,
                          const CbSmartPointer<ZeCTransformationNodeInner>& father)
    {
        node.setFather(father);
    }
    static bool MayBeStale(const ZeCTransformationNode& node) { return node.mayBeStale(); }
    static void SetId(ZeCTransformationNode& node, const CyUniqueID& id) { node.setID(id); }
    static void WriteVersion1(const ZeCNodeVector& vector, CbStreamWriteBinary& stream)
    {
        vector.writeVersion1(stream);
    }
    static ZeTNodeRevision NextGlobalNodeRevision()
    {
        return ZeCTransformationNode::getNextGlobalNodeRevision();
    }
    static void AssertGlobalNodeHeadRevisionValid(ZeTNodeRevision revision)
    {
        ZeCTransformationNode::assertGlobalNodeHeadRevisionValid(revision);
    }
    /// The registered nodes, to be spoiled. Only one thread at a time.
    static auto& IdMap(ZeCTransformationNodeManager& manager)
    {
        return manager.parts_->registry.GetUnguardedMap();
    }
    /// Number of nodes that are registered by their ids.
    static std::size_t CountIds(ZeCTransformationNodeManager& manager)
    {
        const CbCriticalSectionLock lock(manager.section_);
        return IdMap(manager).GetCount();
    }
    static void Dump(const ZeCTransformationNodeManager& manager, CbStreamWriteASCII& stream)
    {
        manager.dump(stream);
    }
    static bool AreInDataManager(const ZeCTransformationNodeManager& manager,
                                 const CbSmartPointer<const CyNode>& top)
    {
        return manager.checkRecursivelyNodesInDataManager(top);
    }
};

} // namespace treetests

using treetests::TestAccess;
