#pragma once

#include "platform/base/cbarray.h"
#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbhashkey.h"
#include "platform/base/cbmap.h"
#include "platform/base/cbsingleton.h"
#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "transformationtree/nodes/zectransformationnode.h"

/// Resolves the ids by which records of nodes refer to each other; a singleton.
///
/// A tree is written in two passes: first every node is announced, so that a reader can make an
/// empty node of the right class for each id; then every node writes its structure, in which
/// father, children and model are ids. Within a pass the order does not matter.
///
/// What was announced is mapped, and kept alive, until ClearMapping(). An application clears the
/// map after a complete write or read.
///
/// @code
/// // The ranges read poses as they are: a singular one does not end the writing half-way.
/// for (const auto& [node, trafo] : root->Nodes()) {
///     mapper.WriteNodeForInstantiation(stream, CbSmartPointer(&node));
/// }
/// for (const auto& [node, trafo] : root->Nodes()) node.SerializeStructure(stream);
/// @endcode
///
/// Threads: ListMappedModelIDs() and ClearMapping() lock, the others do not: streams are written
/// and read on one thread at a time.
class TRANSFORMATIONTREE_API ZeCTransformationNodeSerializationIDMapper
{
public:
    /// As operations take and return them; null where they say so.
    using Node = CbSmartPointer<ZeCTransformationNode>;
    using ConstNode = CbSmartPointer<const ZeCTransformationNode>;

    ZeCTransformationNodeSerializationIDMapper(const ZeCTransformationNodeSerializationIDMapper&) =
        delete;
    ZeCTransformationNodeSerializationIDMapper&
    operator=(const ZeCTransformationNodeSerializationIDMapper&) = delete;

    /// Writes the id of a node, the nil id for null. The map stays as it is.
    void WriteNodeByReference(CbStreamWriteBinary& stream, const ConstNode& node) const;
    /// Reads an id and returns the node mapped to it, or null.
    [[nodiscard]] Node ReadNodeByReference(CbStreamReadBinary& stream) const;
    /// Returns the node mapped to an id, or null. The nil id is never mapped.
    [[nodiscard]] Node GetNode(const CyUniqueID& id) const;

    /// Announces a node: writes its class name and its id, and maps it.
    /// Throws: CbException for null.
    void WriteNodeForInstantiation(CbStreamWriteBinary& stream, const ConstNode& node);
    /// Reads an announcement: makes a node of the class, gives it the id, maps it in place of one
    /// with the same id and returns it.
    /// Throws: CbException where the class is no class of nodes, CbExceptionStream; nothing is
    /// mapped then.
    Node ReadNodeAndInstantiate(CbStreamReadBinary& stream);

    /// Appends all mapped ids to the array, in the order of the map. They are ids of nodes.
    void ListMappedModelIDs(CbArray<CyUniqueID>& ids) const;
    /// Forgets all nodes.
    void ClearMapping();

private:
    friend class CbSingleton<ZeCTransformationNodeSerializationIDMapper>;

    ZeCTransformationNodeSerializationIDMapper();
    ~ZeCTransformationNodeSerializationIDMapper();

    void map(const Node& node);

    mutable CbCriticalSection section_;
    CbMap<CyUniqueID, Node, CbHashKey<CyUniqueID>> nodes_;
};

extern template class TRANSFORMATIONTREE_API
    CbSingleton<ZeCTransformationNodeSerializationIDMapper>;
