// Consistency checks and diagnostics.

#include "logging/log.h"
#include "platform/base/cbstreamwriteascii.h"
#include "transformationtree/manager/internal/nodemanagernames.h"
#include "transformationtree/manager/zectransformationnodemanager.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <algorithm>
#include <string>
#include <utility>

namespace
{

// What a child and its father agree on, except that the father lists the child.
bool areLinked(const ZeCTransformationNodeInner& father, const ZeCTransformationNode& child)
{
    if (!child.IsChildOf(father)) return false;
    const bool managed = child.GetDataManager() != nullptr;
    if (managed != (father.GetDataManager() != nullptr)) return false;
    return !managed || child.GetParent().Get() == &father;
}

// Number of nodes among the children, each counted once.
std::size_t countDistinct(const ZeCTransformationNodeInner& father,
                          std::vector<const ZeCTransformationNode*>& scratch)
{
    scratch.clear();
    std::for_each(father.BeginChild(), father.EndChild(),
                  [&](const auto& child) { scratch.push_back(child.Get()); });
    std::sort(scratch.begin(), scratch.end());
    return static_cast<std::size_t>(std::unique(scratch.begin(), scratch.end()) - scratch.begin());
}

std::size_t countAncestors(const ZeCTransformationNode& node)
{
    std::size_t count = 0;
    for (auto above = node.GetFather(); above; above = above->GetFather()) ++count;
    return count;
}

} // namespace

bool ZeCTransformationNodeManager::isRegistered(const ZeCTransformationNode& node) const
{
    const Node* const registered = idMap_.Find(node.GetID());
    return registered != nullptr && registered->Get() == &node;
}

ZeCTransformationNodeManager::CheckReturn
ZeCTransformationNodeManager::checkIsNodeConsistent(const ConstNode& node) const
{
    return node && IsNotManagedOrReadLocked(node) && isRegistered(*node);
}

ZeCTransformationNodeManager::CheckReturn
ZeCTransformationNodeManager::checkIsFatherAndChildConsistent(const ConstInner& father,
                                                              const ConstNode& child) const
{
    return checkIsNodeConsistent(child) && checkIsNodeConsistent(father) &&
           areLinked(*father, *child) && father->FindChild(child) != father->EndChild();
}

ZeCTransformationNodeManager::CheckReturn
ZeCTransformationNodeManager::IsValid(const ConstNode& node) const noexcept
{
    if (!checkIsNodeConsistent(node)) return false;
    if (!node->IsLeaf()) {
        // They come from the father's list, so it need not be searched for them.
        const auto& inner = static_cast<const ZeCTransformationNodeInner&>(*node);
        if (!std::all_of(inner.BeginChild(), inner.EndChild(), [&](const ConstNode& child) {
                return checkIsNodeConsistent(child) && areLinked(inner, *child);
            })) {
            return false;
        }
    }
    const ConstInner father = node->GetFather();
    if (father && !checkIsFatherAndChildConsistent(father, node)) return false;
    return node->IsNamed(node->GetID());
}

ZeCTransformationNodeManager::CheckReturn ZeCTransformationNodeManager::IsValid() const noexcept
{
    return areRegisteredNodesValid() && isRootInPlace();
}

// Says what IsValid() of every registered node would, but looks at each node and each child once.
bool ZeCTransformationNodeManager::areRegisteredNodesValid() const noexcept
try {
    std::size_t withFather = 0;
    std::size_t listed = 0;
    std::vector<const ZeCTransformationNode*> scratch;
    for (const auto& [id, node] : idMap_) {
        if (!node || !IsNotManagedOrReadLocked(node)) return false;
        if (node->GetID() != id) {
            if (!isRegistered(*node)) return false;
            continue; // its turn comes with its own id
        }
        if (!node->IsNamed(id)) return false;
        if (node->father_.GetAddress() != nullptr) ++withFather;
        if (node->IsLeaf()) continue;
        const auto& inner = static_cast<const ZeCTransformationNodeInner&>(*node);
        if (!std::all_of(inner.BeginChild(), inner.EndChild(), [&](const Node& child) {
                return child && isRegistered(*child) && areLinked(inner, *child);
            })) {
            return false;
        }
        listed += countDistinct(inner, scratch);
    }
    // A listed child is registered, so its own turn checks the rest of it, and it names the father
    // that lists it, so it is not counted twice. As many listed as have fathers means that each is
    // listed by its own, which is registered then.
    return listed == withFather;
} catch (...) {
    return false; // no memory to count with
}

bool ZeCTransformationNodeManager::isRootInPlace() const
{
    if (!root_) return true;
    const auto dataNode = GetDataNode(ConstNode(root_));
    return dataNode && dataNode->GetParent() == dataManagerNode_;
}

ZeCTransformationNodeManager::CheckReturn
ZeCTransformationNodeManager::checkRecursivelyNodesInDataManager(
    CbSmartPointer<const CyNode> dataNode) const noexcept
try {
    std::vector<CbSmartPointer<const CyNode>> open{std::move(dataNode)};
    while (!open.empty()) {
        const auto top = std::move(open.back());
        open.pop_back();
        ReadHandle handle;
        GetHandle(top, handle);
        const auto node = CbDynamicPointerCast<const ZeCTransformationNode>(top);
        if (!handle.IsValid() || GetDataNode(node) != top) return false;
        for (auto& child : top->GetChildren()) open.push_back(std::move(child));
    }
    return true;
} catch (...) {
    return false; // no memory to look with
}

void ZeCTransformationNodeManager::dump(CbStreamWriteASCII& stream) const
{
    const CbCriticalSectionLock lock(section_);
    std::string text = "\n"
                       "--------------------------------------------------------------------\n"
                       "ZeCTransformationNodeManager:\n"
                       "\n";
    if (root_) {
        for (const auto& [node, trafo] : root_->Nodes()) {
            text.append(countAncestors(node), ' ');
            text += node.GetDescription().ToUtf8();
            text += "[leaf]\n";
        }
    }
    stream << text;
}

void ZeCTransformationNodeManager::logIDMap(const char* tag) const noexcept
try {
    constexpr const char* function = "ZeCTransformationNodeManager::logIDMap";
    const CString wideTag = CString::FromUtf8(tag);
    Logging::LogDebug(c_nodeManagerLogger, c_nodeManagerFile, 1916, function,
                      CB_TEXT("Start ID Map: %s"), wideTag.GetString());
    for (const auto& [id, node] : idMap_) {
        Logging::LogDebug(c_nodeManagerLogger, c_nodeManagerFile, 1920, function,
                          CB_TEXT("id %s -> description %s"), id.ToString().GetString(),
                          node->getLoggedDescription().GetString());
    }
    Logging::LogDebug(c_nodeManagerLogger, c_nodeManagerFile, 1922, function,
                      CB_TEXT("End ID Map: %s"), wideTag.GetString());
} catch (...) {
    // Messages are no reason for an edit to fail half-way.
}
