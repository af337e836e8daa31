#include "transformationtree/manager/internal/nodechecks.h"

#include "platform/base/cbstreamwriteascii.h"
#include "transformationtree/nodes/internal/zectransformationnodeaccess.h"
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

bool NodeChecks::isReadable(const ConstNodePointer& node) const
{
    return locks_.IsNotManagedOrLocked(node, false);
}

bool NodeChecks::isRegistered(const ZeCTransformationNode& node) const
{
    const NodePointer* const registered = registry_.GetUnguardedMap().Find(node.GetID());
    return registered != nullptr && registered->Get() == &node;
}

NodeChecks::CheckReturn NodeChecks::checkIsNodeConsistent(const ConstNodePointer& node) const
{
    return node && isReadable(node) && isRegistered(*node);
}

NodeChecks::CheckReturn
NodeChecks::checkIsFatherAndChildConsistent(const InnerPointer& father,
                                            const ConstNodePointer& child) const
{
    return checkIsNodeConsistent(child) && checkIsNodeConsistent(father) &&
           areLinked(*father, *child) && father->FindChild(child) != father->EndChild();
}

NodeChecks::CheckReturn NodeChecks::IsValid(const ConstNodePointer& node) const noexcept
{
    if (!checkIsNodeConsistent(node)) return false;
    if (const auto* const inner = node->AsInner()) {
        // They come from the father's list, so it need not be searched for them.
        const auto isConsistent = [&](const ConstNodePointer& child) {
            return checkIsNodeConsistent(child) && areLinked(*inner, *child);
        };
        if (!std::all_of(inner->BeginChild(), inner->EndChild(), isConsistent)) return false;
    }
    const InnerPointer father = node->GetFather();
    if (father && !checkIsFatherAndChildConsistent(father, node)) return false;
    return node->IsNamed(node->GetID());
}

NodeChecks::CheckReturn NodeChecks::IsValid() const noexcept
{
    return areRegisteredNodesValid() && mirror_.IsRootInPlace();
}

// Says what IsValid() of every registered node would, but looks at each node and each child once.
bool NodeChecks::areRegisteredNodesValid() const noexcept
try {
    std::size_t withFather = 0;
    std::size_t listed = 0;
    std::vector<const ZeCTransformationNode*> scratch;
    for (const auto& [id, node] : registry_.GetUnguardedMap()) {
        if (!node || !isReadable(node)) return false;
        if (node->GetID() != id) {
            if (!isRegistered(*node)) return false;
            continue; // its turn comes with its own id
        }
        if (!node->IsNamed(id)) return false;
        if (ZeCTransformationNodeAccess::HasFather(*node)) ++withFather;
        const ZeCTransformationNodeInner* const inner = node->AsInner();
        if (inner == nullptr) continue;
        const auto isConsistent = [&](const NodePointer& child) {
            return child && isRegistered(*child) && areLinked(*inner, *child);
        };
        if (!std::all_of(inner->BeginChild(), inner->EndChild(), isConsistent)) return false;
        listed += countDistinct(*inner, scratch);
    }
    // A listed child is registered, so its own turn checks the rest of it, and it names the father
    // that lists it, so it is not counted twice. As many listed as have fathers means that each is
    // listed by its own, which is registered then.
    return listed == withFather;
} catch (...) {
    return false; // no memory to count with
}

NodeChecks::CheckReturn
NodeChecks::CheckRecursivelyNodesInDataManager(CbSmartPointer<const CyNode> dataNode) const noexcept
try {
    std::vector<CbSmartPointer<const CyNode>> open{std::move(dataNode)};
    while (!open.empty()) {
        const auto top = std::move(open.back());
        open.pop_back();
        // Recorded, not locked: it is valid if the thread's own locks cover the node.
        const auto handle = locks_.GetHandle<0>(top);
        const auto node = CbDynamicPointerCast<const ZeCTransformationNode>(top);
        if (!handle.IsValid() || !IsInDataManager(node)) return false;
        for (auto& child : top->GetChildren()) open.push_back(std::move(child));
    }
    return true;
} catch (...) {
    return false; // no memory to look with
}

void NodeChecks::Dump(CbStreamWriteASCII& stream) const
{
    std::string text = "\n"
                       "--------------------------------------------------------------------\n"
                       "ZeCTransformationNodeManager:\n"
                       "\n";
    if (const InnerPointer root = mirror_.GetRoot()) {
        for (const auto& [node, trafo] : root->Nodes()) {
            text.append(countAncestors(node), ' ');
            text += node.GetDescription().ToUtf8();
            text += "[leaf]\n"; // behind inner nodes, too: readers of dumps know it so
        }
    }
    stream << text;
}
