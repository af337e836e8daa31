#pragma once

#include "platform/base/cbidmapper.h"
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
/// ListMappedModelIDs() lists ids of nodes. Threads: as of CbIDMapper.
class TRANSFORMATIONTREE_API ZeCTransformationNodeSerializationIDMapper
    : public CbIDMapper<ZeCTransformationNode>
{
public:
    /// As operations take and return them. Null only if the operation says so.
    using Node = CbSmartPointer<ZeCTransformationNode>;
    using ConstNode = CbSmartPointer<const ZeCTransformationNode>;

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
    /// Throws: CbException if the class is no class of nodes, CbExceptionStream; nothing is
    /// mapped then.
    Node ReadNodeAndInstantiate(CbStreamReadBinary& stream);

private:
    friend class CbSingleton<ZeCTransformationNodeSerializationIDMapper>;

    ZeCTransformationNodeSerializationIDMapper();
    ~ZeCTransformationNodeSerializationIDMapper();

    /// Maps a node by its id.
    void mapNode(const Node& node);
};

extern template class TRANSFORMATIONTREE_API
    CbSingleton<ZeCTransformationNodeSerializationIDMapper>;
