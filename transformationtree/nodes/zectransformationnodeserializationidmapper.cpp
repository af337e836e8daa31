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
    CyUniqueID id;
    id.Serialize(stream);
    return GetNode(id);
}

ZeCTransformationNodeSerializationIDMapper::Node
ZeCTransformationNodeSerializationIDMapper::GetNode(const CyUniqueID& id) const
{
    const Node* const node = nodes_.Find(id);
    return node != nullptr ? *node : nullptr;
}

void ZeCTransformationNodeSerializationIDMapper::WriteNodeForInstantiation(
    CbStreamWriteBinary& stream, const ConstNode& node)
{
    if (!node) throw CbException(CB_HERE, "there is no node to announce");
    stream << node->GetRTTI().GetName();
    node->GetID().Serialize(stream);
    map(Node(const_cast<ZeCTransformationNode*>(node.Get()))); // nodes are resolved to be edited
}

ZeCTransformationNodeSerializationIDMapper::Node
ZeCTransformationNodeSerializationIDMapper::ReadNodeAndInstantiate(CbStreamReadBinary& stream)
{
    CString className;
    stream >> className;
    CyUniqueID id;
    id.Serialize(stream);
    auto node = CbCreate<ZeCTransformationNode>(className);
    if (!node) throw CbException(CB_HERE, "no class of nodes: " + className.ToUtf8());
    node->setID(id);
    map(node);
    return node;
}

void ZeCTransformationNodeSerializationIDMapper::map(const Node& node)
{
    const CyUniqueID id = node->GetID();
    if (!id.IsNil()) nodes_.Set(id, node);
}

void ZeCTransformationNodeSerializationIDMapper::ListMappedModelIDs(CbArray<CyUniqueID>& ids) const
{
    const CbCriticalSectionLock lock(section_);
    ids.Reserve(ids.GetCount() + nodes_.GetCount());
    for (const auto& [id, node] : nodes_) ids.Append(id);
}

void ZeCTransformationNodeSerializationIDMapper::ClearMapping()
{
    decltype(nodes_) cleared; // goes after the section is left
    const CbCriticalSectionLock lock(section_);
    nodes_.Swap(cleared);
}
