#include "transformationtree/manager/internal/noderegistry.h"

#include "logging/log.h"
#include "transformationtree/manager/internal/nodemanagernames.h"
#include "transformationtree/nodes/internal/fixedplaces.h"
#include "transformationtree/nodes/internal/zectransformationnodeaccess.h"

#include <utility>

void NodeRegistry::InitCreatedTransformationNode(const NodePointer& node)
{
    NodePointer replaced; // goes after the section is left
    const CbCriticalSectionLock lock(section_);
    replaced = registerNode(node);
}

void NodeRegistry::RegisterNodes(const BorrowedNodes& nodes)
{
    std::vector<NodePointer> replaced(nodes.size()); // go after the section is left
    const CbCriticalSectionLock lock(section_);
    // After that the map can't fail. Nodes that it has already make it ask for too much room once.
    idMap_.Reserve(idMap_.GetCount() + nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i)
        replaced[i] = registerNode(NodePointer(nodes[i]));
}

// Returns what the id held before.
NodePointer NodeRegistry::registerNode(const NodePointer& node)
{
    const CyUniqueID id = node->GetID();
    if (NodePointer* const held = idMap_.Find(id)) return std::exchange(*held, node);
    idMap_.Set(id, node);
    return nullptr;
}

void NodeRegistry::DeleteNode(const ZeCTransformationNode& node)
{
    NodePointer registered; // goes after the section is left
    const CbCriticalSectionLock lock(section_);
    registered = idMap_.Take(node.GetID());
}

NodePointer NodeRegistry::GetNodeByID(const CyUniqueID& id) const
{
    const CbCriticalSectionLock lock(section_);
    const NodePointer* const node = idMap_.Find(id);
    return node != nullptr ? *node : nullptr;
}

void NodeRegistry::LogIDMap(const char* tag) const noexcept
try {
    if (!Logging::IsDebugEnabled(c_nodeManagerLogger)) return;
    constexpr const char* function = "ZeCTransformationNodeManager::logIDMap";
    const CString wideTag = CString::FromUtf8(tag);
    const CbCriticalSectionLock lock(section_);
    Logging::LogDebug(c_nodeManagerLogger, FixedPlaces::c_idMapBegins.file,
                      FixedPlaces::c_idMapBegins.line, function, CB_TEXT("Start ID Map: %s"),
                      wideTag.GetString());
    for (const auto& [id, node] : idMap_) {
        const CString description = ZeCTransformationNodeAccess::GetLoggedDescription(*node);
        Logging::LogDebug(c_nodeManagerLogger, FixedPlaces::c_idMapEntry.file,
                          FixedPlaces::c_idMapEntry.line, function,
                          CB_TEXT("id %s -> description %s"), id.ToString().GetString(),
                          description.GetString());
    }
    Logging::LogDebug(c_nodeManagerLogger, FixedPlaces::c_idMapEnds.file,
                      FixedPlaces::c_idMapEnds.line, function, CB_TEXT("End ID Map: %s"),
                      wideTag.GetString());
} catch (...) {
    // Messages are no reason for an edit to fail half-way.
}
