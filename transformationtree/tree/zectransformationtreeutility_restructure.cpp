// Merging, copying, normalising and collapsing.

#include "platform/base/cbexception.h"
#include "transformationtree/manager/internal/creatednodes.h"
#include "transformationtree/manager/zectransformationnodemanager.h"
#include "transformationtree/nodes/internal/collectsubtree.h"
#include "transformationtree/nodes/internal/subtreewalk.h"
#include "transformationtree/tree/internal/changemessages.h"
#include "transformationtree/tree/internal/nextchild.h"
#include "transformationtree/tree/zectransformationtreeutility.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <string>
#include <utility>

namespace
{

using EModified = ZeCMessageTreeStructureModified::EModificationType;
using Utility = ZeCTransformationTreeUtility;

constexpr unsigned int c_allRevisions = ZeCTransformationNode::c_allRevisions;

// The children that are the node's own.
std::vector<Utility::Node> ownChildren(const ZeCTransformationNodeInner& node)
{
    std::vector<Utility::Node> children;
    children.reserve(node.GetNrChildren());
    std::copy_if(node.BeginChild(), node.EndChild(), std::back_inserter(children),
                 [&](const auto& child) { return child && child->IsChildOf(node); });
    return children;
}

// The order in which models were scanned, with leaves without model last, then by the ids.
using ScanOrder = std::pair<std::uint64_t, CyUniqueID>;

ScanOrder scanOrderOf(const ZeCTransformationNodeLeaf& leaf)
{
    const auto model = leaf.GetModel();
    return {model ? model->GetAcquireSequenceNumber() : std::numeric_limits<std::uint64_t>::max(),
            leaf.GetID()};
}

struct PosedLeaf
{
    Utility::Leaf leaf;
    CbMatrix4Rd toRoot;
};

// Tells entries whose node has another father by now.
struct OwnershipIterator : ZeCTransformationNode::ZeNNodeIterator
{
    explicit OwnershipIterator(const ZeNNodeIterator& position) : ZeNNodeIterator(position) {}

    [[nodiscard]] bool IsOnStaleEntry() const { return !topNode().IsChildOf(topFather()); }
};

// The leaves below a root, in the order of a walk.
std::vector<PosedLeaf> collectLeaves(const ZeCTransformationNodeInner& root)
{
    std::vector<PosedLeaf> leaves;
    for (OwnershipIterator position(++root.BeginNode()); position;) {
        if (position.IsOnStaleEntry()) {
            position.IncrementToNextSibling();
            continue;
        }
        if (position.Borrow().node.IsLeaf()) {
            const auto posed = *position;
            leaves.push_back({posed.GetLeafNode(), posed.GetTrafo()});
        }
        ++position;
    }
    return leaves;
}

std::vector<Utility::Node> sortedByScan(const std::vector<PosedLeaf>& leaves)
{
    // Leaves may be scattered in memory: each is looked at once, not at every comparison.
    std::vector<std::pair<ScanOrder, std::size_t>> order;
    order.reserve(leaves.size());
    for (const auto& posed : leaves) order.emplace_back(scanOrderOf(*posed.leaf), order.size());
    std::sort(order.begin(), order.end());
    std::vector<Utility::Node> sorted;
    sorted.reserve(leaves.size());
    for (const auto& [scan, index] : order) sorted.push_back(leaves[index].leaf);
    return sorted;
}

bool canMerge(const Utility::Inner& source, const Utility::Inner& target)
{
    using Manager = ZeCTransformationNodeManager;
    return source && target && !target->EmptyLeafs() && !source->EmptyLeafs() &&
           Manager::IsNodeInDataManager(target) == Manager::IsNodeInDataManager(source) &&
           !IsAtOrBelow(*target, *source);
}

// A clone of a model, or the model itself if it can't be cloned.
Utility::Model cloneOf(const Utility::Model& model)
{
    const auto clone = model ? model->GetRTTI().getClone() : nullptr;
    if (clone == nullptr) return model;
    const CbSmartPointer<IObject> object(clone(*model));
    const auto cloned = CbDynamicPointerCast<const ZeCModelQMT>(object);
    return cloned ? cloned : model;
}

// What RemoveSubtree() would post for each inner node below a root, in the order of a walk, when
// the leaves have gone: those below another one are removed with it, and once more by themselves.
void addInnerNodesRemoved(ChangeMessages& messages, const ZeCTransformationNodeInner& root)
{
    const auto isLeaf = [](const auto& node) { return node->IsLeaf(); };
    for (const auto& top : ownChildren(root)) {
        if (top->IsLeaf()) continue;
        auto nodes = CollectPostOrder(*top);
        std::erase_if(nodes, isLeaf);
        messages.AddRemoved(nodes);
        auto again = CollectPreOrder(*top);
        std::erase_if(again, isLeaf);
        std::for_each(again.begin() + 1, again.end(), [&](ZeCTransformationNode* node) {
            messages.AddTreeStructureModified(Utility::Node(node), nullptr,
                                              EModified::eNodeRemoved);
        });
    }
}

} // namespace

void ZeCTransformationTreeUtility::MergeInnerNodes(const Inner& source, const Inner& target,
                                                   const CbMatrix4Rd& sourceToTarget,
                                                   bool postMessages)
{
    if (!canMerge(source, target)) return;
    const CbMatrix4Rd trafo = sourceToTarget; // may be a reference to a child's
    const auto children = ownChildren(*source);
    const Inner sourceFather = source->GetFather();
    const Model outdated = target->GetModel();
    ChangeMessages messages;
    if (postMessages) {
        for (const Node& child : children) {
            messages.AddTreeStructureModified(child, target, EModified::eNodeMoved);
        }
        messages.AddTreeStructureModified(source, sourceFather, EModified::eNodeRemoved);
        if (outdated) messages.AddModelOutdated(target, *outdated);
    }

    auto& manager = getNodeManager();
    // Fails, if at all, before anything has changed.
    if (children.empty()) {
        manager.DeleteChildren(source); // only entries of nodes that are not its own
    } else {
        manager.MoveNodes(target, children);
    }
    // No product with the identity: it would turn -0.0 into 0.0.
    const bool isIdentity = trafo == c_matIdentityD;
    for (const Node& child : children) {
        const CbMatrix4Rd& relative = child->GetRelativeTrafo();
        child->SetRelativeTrafo(isIdentity ? relative : Compose(relative, trafo));
    }
    if (!children.empty()) target->NewNodeRevision(c_allRevisions); // newer than the children
    manager.RemoveChild(sourceFather, source);
    manager.DeleteNode(source);
    if (outdated) target->DeleteModel();
    messages.Post();
}

ZeCTransformationTreeUtility::Node
ZeCTransformationTreeUtility::CopySubtree(const ConstNode& node,
                                          ZeCTransformationNode::EAttributesToCopy attributesToCopy,
                                          NodeMap* copyToSource, bool cloneModels)
{
    if (!node) return nullptr;
    auto& manager = getNodeManager();
    CreatedNodes created(manager);
    std::vector<std::pair<Node, const ZeCTransformationNode*>> copies;
    const auto copyAlone = [&](const ZeCTransformationNode& source) -> Node {
        Node copy;
        if (source.IsLeaf()) {
            const Model model = source.GetModel();
            copy = created.CreateLeaf(cloneModels ? cloneOf(model) : model);
        } else {
            copy = created.CreateInner({});
        }
        copies.emplace_back(copy, &source);
        return copy;
    };
    Node top = copyAlone(*node);
    if (const ZeCTransformationNodeInner* const inner = node->AsInner()) {
        // The inner nodes from the top down to the one whose children are being copied. Each is
        // appended when it is complete, so that its father becomes newer than all below.
        std::vector<std::pair<Inner, const ZeCTransformationNode*>> path;
        const auto completeUpTo = [&](const ZeCTransformationNode& source) {
            while (path.back().second != &source) {
                const Inner complete = std::move(path.back().first);
                path.pop_back();
                manager.AppendChild(path.back().first, complete, true);
            }
        };
        path.emplace_back(Inner(top->AsInner()), inner);
        WalkBelow(*inner, [&](const ZeCTransformationNode& child, const auto& father) {
            completeUpTo(father);
            const Node copy = copyAlone(child);
            if (child.IsLeaf()) {
                manager.AppendChild(path.back().first, copy, true);
            } else {
                path.emplace_back(Inner(copy->AsInner()), &child);
            }
            return EVisit::Enter;
        });
        completeUpTo(*inner);
    }

    if (copyToSource != nullptr) copyToSource->Reserve(copyToSource->GetCount() + copies.size());
    // With all children in place, since an inner node takes a model over from its like only.
    for (const auto& [copy, source] : copies) {
        copy->AssumeAttributes(ConstNode(source), attributesToCopy);
    }
    if (copyToSource != nullptr) {
        for (const auto& [copy, source] : copies) copyToSource->Set(copy, ConstNode(source));
    }
    created.Keep();
    return top;
}

void ZeCTransformationTreeUtility::NormalizeTreeStructure(const Inner& root, int maxChildren,
                                                          bool postMessages)
{
    if (!root) throw CbException(CB_HERE, "there is no tree to normalise");
    const auto leaves = collectLeaves(*root);
    if (maxChildren < 1 || (maxChildren == 1 && leaves.size() > 1)) {
        throw CbException(CB_HERE, "a fan-out of " + std::to_string(maxChildren) + " can't hold " +
                                       std::to_string(leaves.size()) + " leaves");
    }
    auto& manager = getNodeManager();
    CreatedNodes created(manager);
    ChangeMessages messages;
    const Inner modelDummy = created.CreateInner(CB_TEXT("ModelDummy"));
    Inner top = created.CreateInner(CB_TEXT("ClusterDummy"));
    manager.AppendChild(modelDummy, top, true);
    Inner place = top;
    for (const auto& [leaf, toRoot] : leaves) {
        const Leaf newLeaf = created.CreateLeaf(leaf->GetModel());
        newLeaf->AssumeAttributes(leaf,
                                  ZeCTransformationNode::EAttributesToCopy::PropertiesAndModel);
        newLeaf->CopyAttributesFrom(leaf->GetAllAttributes());
        newLeaf->SetRelativeTrafo(toRoot);
        place = MakeRoomForNextChild(place, static_cast<unsigned int>(maxChildren), top, created,
                                     messages);
        manager.AppendChild(place, newLeaf, true);
    }
    if (postMessages) {
        auto removed = CollectPostOrder(*root);
        removed.back() = top; // instead of the root itself
        messages.AddRemoved(removed);
    }

    manager.ReplaceChildren(root, ownChildren(*top));
    created.Keep();
    manager.RemoveChild(modelDummy, top);
    manager.DeleteNode(top);
    manager.DeleteNode(modelDummy);
    messages.Post();
}

void ZeCTransformationTreeUtility::CollapseAll(const Inner& root, bool postMessages)
{
    if (!root) throw CbException(CB_HERE, "there is no tree to collapse");
    const auto leaves = collectLeaves(*root);
    const auto sorted = sortedByScan(leaves);
    ChangeMessages messages;
    if (postMessages) {
        for (const Node& leaf : sorted) {
            messages.AddTreeStructureModified(leaf, root, EModified::eNodeMoved);
        }
        addInnerNodesRemoved(messages, *root);
    }

    const bool changes = root->GetNrChildren() != 0;
    getNodeManager().ReplaceChildren(root, sorted);
    for (const auto& [leaf, toRoot] : leaves) leaf->SetRelativeTrafo(toRoot);
    if (changes) root->NewNodeRevision(c_allRevisions); // newer than the leaves
    messages.Post();
}
