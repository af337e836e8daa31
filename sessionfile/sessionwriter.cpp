#include "sessionfile/sessionwriter.h"

#include "platform/base/cbrtti.h"
#include "platform/base/cystreamwritebinarybuffer.h"
#include "platform/datacontainer/models/zecmodelserializationidmapper.h"
#include "sessionfile/crc32.h"
#include "sessionfile/sessionerror.h"
#include "sessionfile/sessionformat.h"
#include "sessionfile/sessionmappings.h"
#include "transformationtree/nodes/zectransformationnodeserializationidmapper.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

namespace sessionfile
{

namespace
{

using Node = CbSmartPointer<const ZeCTransformationNode>;
using Model = CbSmartPointer<const ZeCModelQMT>;

[[noreturn]] void refuse(const std::string& text)
{
    throw SessionError(SessionError::EKind::Unwritable, text);
}

std::string textOf(const CyUniqueID& id) { return id.ToString().ToUtf8(); }

/// A reader makes an object of the class that has the name.
void requireClass(const IObject& object)
{
    const CString name = object.GetClassNameW();
    const CbRTTI* const type = CbRTTI::Find(name);
    if (type != &object.GetRTTI() || type->getCreate() == nullptr ||
        name.GetView().size() > c_longestClassName) {
        refuse("class " + name.ToUtf8() + " can't be made by its name");
    }
}

/// All nodes, fathers before their children.
std::vector<Node> collect(const CbSmartPointer<const ZeCTransformationNodeInner>& root)
{
    if (!root) refuse("there is no tree to write");
    if (root->GetFather()) refuse("node " + textOf(root->GetID()) + " is not the root of its tree");
    std::vector<Node> nodes;
    std::vector<Node> open{root};
    while (!open.empty()) {
        nodes.push_back(std::move(open.back()));
        open.pop_back();
        const ZeCTransformationNodeInner* const father = nodes.back()->AsInner();
        if (father == nullptr) continue;
        for (auto child = father->EndChild(); child != father->BeginChild();) {
            --child;
            if (!*child || !(*child)->IsChildOf(*father)) {
                refuse("node " + textOf(father->GetID()) + " lists a node whose father it is not");
            }
            open.push_back(*child);
        }
    }
    return nodes;
}

/// The models of the nodes, each once.
std::vector<Model> modelsOf(const std::vector<Node>& nodes)
{
    std::vector<Model> models;
    std::unordered_map<CyUniqueID, const ZeCModelQMT*> seen;
    for (const auto& node : nodes) {
        const auto model = node->GetModel();
        if (!model) continue;
        const auto [known, isNew] = seen.emplace(model->GetID(), model.Get());
        if (known->second != model.Get() || model->GetID().IsNil()) {
            refuse("model id " + textOf(model->GetID()) + " is nil or that of two models");
        }
        if (!isNew) continue;
        requireClass(*model);
        models.push_back(model);
    }
    return models;
}

/// Writes the content as a section and forgets it.
void writeSection(CbStreamWriteBinary& stream, ESection section, CyStreamWriteBinaryBuffer& content)
{
    stream << static_cast<std::uint32_t>(section) << std::uint64_t{content.GetCount()}
           << Crc32(content.GetBytes());
    stream.WriteBuffer(content.GetData(), content.GetCount());
    content.Empty();
}

void writeAttributes(CbStreamWriteBinary& stream, const std::vector<Node>& nodes,
                     const UnknownRecords& unknown)
{
    const auto hasAttributes = [&](const Node& node) { return unknown.HasAttributes(*node); };
    stream << static_cast<std::uint32_t>(std::count_if(nodes.begin(), nodes.end(), hasAttributes));
    for (const auto& node : nodes) {
        if (!hasAttributes(node)) continue;
        node->GetID().Serialize(stream);
        unknown.WriteAttributes(stream, *node);
    }
}

} // namespace

void WriteSession(CbStreamWriteBinary& stream,
                  const CbSmartPointer<const ZeCTransformationNodeInner>& root,
                  const UnknownRecords& unknown)
{
    const SessionMappings mappings;
    auto& nodeMapper = CbSingleton<ZeCTransformationNodeSerializationIDMapper>::GetInstance();
    auto& modelMapper = CbSingleton<ZeCModelSerializationIDMapper>::GetInstance();
    const auto nodes = collect(root);
    const auto models = modelsOf(nodes);

    CyStreamWriteBinaryBuffer content;
    content << static_cast<std::uint32_t>(nodes.size())
            << static_cast<std::uint32_t>(models.size());
    for (const auto& node : nodes) {
        const CyUniqueID id = node->GetID();
        if (id.IsNil() || nodeMapper.GetNode(id)) {
            refuse("node id " + textOf(id) + " is nil or that of two nodes");
        }
        requireClass(*node);
        nodeMapper.WriteNodeForInstantiation(content, node);
    }

    stream.WriteBuffer(c_magic.data(), c_magic.size());
    stream.WriteVersion(c_version);
    writeSection(stream, ESection::Nodes, content);

    for (const auto& node : nodes) {
        nodeMapper.WriteNodeByReference(content, node);
        node->SerializeStructure(content);
    }
    writeSection(stream, ESection::Structure, content);

    writeAttributes(content, nodes, unknown);
    writeSection(stream, ESection::Attributes, content);

    for (const auto& model : models) {
        if (const auto stored = unknown.GetStored(*model); !stored.empty()) {
            content.WriteBuffer(stored.data(), stored.size());
        } else {
            modelMapper.WriteModel(content, model);
        }
        while (content.GetCount() < c_smallestModel) content << false;
        writeSection(stream, ESection::Model, content);
    }
}

} // namespace sessionfile
