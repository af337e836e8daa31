#include "transformationtree/nodes/zectransformationnodeserializationidmapper.h"

#include "platform/base/cbcreate.h"
#include "platform/base/cbexception.h"

template class CbSingleton<ZeCTransformationNodeSerializationIDMapper>;

ZeCTransformationNodeSerializationIDMapper::ZeCTransformationNodeSerializationIDMapper() = default;

ZeCTransformationNodeSerializationIDMapper::~ZeCTransformationNodeSerializationIDMapper() = default;

void ZeCTransformationNodeSerializationIDMapper::WriteNodeByReference(CbStreamWriteBinary& stream,
                                                                      const ConstNode& node) const
{
    ZeCTransformationNode::GetIDOf(node.Get()).Serialize(stream);
}

ZeCTransformationNodeSerializationIDMapper::Node
ZeCTransformationNodeSerializationIDMapper::ReadNodeByReference(CbStreamReadBinary& stream) const
{
    return readReference(stream);
}

ZeCTransformationNodeSerializationIDMapper::Node
ZeCTransformationNodeSerializationIDMapper::GetNode(const CyUniqueID& id) const
{
    return find(id);
}

void ZeCTransformationNodeSerializationIDMapper::WriteNodeForInstantiation(
    CbStreamWriteBinary& stream, const ConstNode& node)
{
    if (!node) throw CbException(CB_HERE, "there is no node to announce");
    stream << node->GetRTTI().GetName();
    node->GetID().Serialize(stream);
    // Who resolves a node edits it, so the map holds nodes that are not const.
    mapNode(Node(const_cast<ZeCTransformationNode*>(node.Get())));
}

ZeCTransformationNodeSerializationIDMapper::Node
ZeCTransformationNodeSerializationIDMapper::ReadNodeAndInstantiate(CbStreamReadBinary& stream)
{
    CString className;
    stream >> className;
    CyUniqueID id;
    id.Serialize(stream);
    // All is read by now: what a short stream or an unknown class throws leaves the map as it was.
    auto node = CbCreate<ZeCTransformationNode>(className);
    if (!node) throw CbException(CB_HERE, "no class of nodes: " + className.ToUtf8());
    node->setID(id);
    mapNode(node);
    return node;
}

void ZeCTransformationNodeSerializationIDMapper::mapNode(const Node& node)
{
    // The nil id stands for null in references.
    const CyUniqueID id = node->GetID();
    if (!id.IsNil()) map(id, node);
}
