// Building and removing. Restructuring is in the source beside this one.

#include "transformationtree/tree/zectransformationtreeutility.h"

#include "platform/base/cbexception.h"
#include "transformationtree/manager/internal/creatednodes.h"
#include "transformationtree/manager/zectransformationnodemanager.h"
#include "transformationtree/nodes/internal/collectsubtree.h"
#include "transformationtree/tree/internal/changemessages.h"

#include <utility>
#include <vector>

template class CbSingleton<ZeCTransformationTreeUtility>;

namespace
{

using EModified = ZeCMessageTreeStructureModified::EModificationType;

} // namespace

ZeCTransformationNodeManager& ZeCTransformationTreeUtility::getNodeManager()
{
    return CbSingleton<ZeCTransformationNodeManager>::GetInstance();
}

ZeCTransformationTreeUtility::Leaf
ZeCTransformationTreeUtility::CreateLeaf(const Inner& father, const Model& model,
                                         const CbMatrix4Rd* trafo)
{
    if (!model) return nullptr;
    if (trafo == nullptr) throw CbException(CB_HERE, "a leaf without transformation");
    // Until it is kept the leaf is taken back by whatever is thrown below.
    CreatedNodes created(getNodeManager());
    Leaf leaf = created.CreateLeaf(model);
    leaf->SetDescription(model->GetDescription());
    leaf->SetRelativeTrafo(*trafo);
    ChangeMessages messages;
    messages.AddTransformationChanged(leaf);
    if (father) getNodeManager().AppendChild(father, leaf, true);
    created.Keep();
    messages.Post();
    return leaf;
}

ZeCTransformationTreeUtility::Leaf
ZeCTransformationTreeUtility::CreateLeafAndReplace(const Leaf& oldLeaf, const Model& model)
{
    if (!oldLeaf) throw CbException(CB_HERE, "there is no leaf to replace");
    CreatedNodes created(getNodeManager());
    Leaf newLeaf = created.CreateLeaf(model);
    newLeaf->AssumeAttributesIncrementVersion(oldLeaf);
    if (const Inner father = oldLeaf->GetFather()) {
        getNodeManager().ExchangeChild(father, oldLeaf, newLeaf);
    }
    created.Keep();
    getNodeManager().DeleteNode(oldLeaf);
    return newLeaf;
}

ZeCTransformationTreeUtility::Inner
ZeCTransformationTreeUtility::PrepareForNextChild(const Inner& node, unsigned int maxChildren,
                                                  Inner& topNode)
{
    CreatedNodes created(getNodeManager());
    ChangeMessages messages;
    Inner place = prepareForNextChild(node, maxChildren, topNode, created, messages);
    created.Keep();
    messages.Post();
    return place;
}

ZeCTransformationTreeUtility::Inner
ZeCTransformationTreeUtility::prepareForNextChild(const Inner& node, unsigned int maxChildren,
                                                  Inner& topNode, CreatedNodes& created,
                                                  ChangeMessages& messages)
{
    //     top (full)                 new top
    //      |                          |     \
    //     ...(full)        ->        top    "Inner"
    //      |                          |       |
    //     node (full)                ...     "Inner"  <- the place for the next child
    //
    // If a node between top and node has room, the branch of new nodes hangs there, and no top is
    // made.
    const auto isFull = [&](const Inner& inner) { return inner->GetNrChildren() >= maxChildren; };
    std::size_t levels = 0; // of the branch that will lead down to where the node is
    Inner place = node;
    for (; place && isFull(place) && place != topNode; place = place->GetFather()) ++levels;
    if (!place) return nullptr;
    const Inner oldTop = isFull(place) ? place : nullptr;
    const Inner topFather = oldTop ? oldTop->GetFather() : nullptr;
    // A new top that is full with the old one alone would need another one above it, and so on.
    if (oldTop && (!topFather || maxChildren < 2)) return nullptr;

    auto& manager = getNodeManager();
    if (oldTop) {
        place = created.CreateInner(oldTop->GetDescription());
        place->ReserveChildren(2);
        messages.AddTreeStructureModified(place, oldTop, EModified::eTopInserted);
        messages.AddTreeStructureModified(oldTop, place, EModified::eNodeMoved);
        ++levels;
    }
    // The branch is complete before it comes into the tree. Each node stands below the one before.
    std::vector<Inner> branch;
    branch.reserve(levels + 1);
    branch.push_back(place);
    for (; levels > 0; --levels) {
        const Inner inner = created.CreateInner(CB_TEXT("Inner"));
        messages.AddTreeStructureModified(inner, branch.back(), EModified::eNodeAdded);
        if (branch.size() > 1) manager.AppendChild(branch.back(), inner, true);
        branch.push_back(inner);
    }
    if (branch.size() == 1) return place;
    manager.AppendChild(place, branch[1], true);
    if (oldTop) {
        manager.InsertChild(topFather, oldTop, place);
        manager.MoveNode(place, oldTop, branch[1]);
        topNode = place;
    }
    // As if the nodes had been made and appended one by one from the top: each is renewed when the
    // next one is appended, which was made just before. Only the last one is older than its father.
    Inner last = branch.back();
    std::swap(branch.back(), branch[branch.size() - 2]);
    for (const Inner& inner : branch) {
        inner->NewNodeRevision(ZeCTransformationNode::c_allRevisions);
    }
    return last;
}

void ZeCTransformationTreeUtility::RemoveSubtree(const Node& removedNode, bool postMessages)
{
    const Node node = removedNode; // may be a reference into the children
    if (!node) return;
    ChangeMessages messages;
    // Listed while the links are there: subscribers hear of children before their fathers.
    if (postMessages) messages.AddRemoved(CollectPostOrder(*node));
    auto& manager = getNodeManager();
    if (const Inner inner(node->AsInner()); inner) manager.DeleteChildren(inner);
    // What can fail has been done by DeleteChildren(), or fails here before anything has changed.
    manager.RemoveChild(node->GetFather(), node);
    manager.DeleteNode(node);
    messages.Post();
}

void ZeCTransformationTreeUtility::RemoveChildren(const Inner& node, bool postMessages)
{
    removeChildren(node, postMessages, {});
}

void ZeCTransformationTreeUtility::ClearAndRemoveChildren(const Inner& node, bool postMessages)
{
    removeChildren(node, postMessages, [&] {
        node->ResetAttributes();
        node->ClearAttributeContainer();
    });
}

void ZeCTransformationTreeUtility::removeChildren(const Inner& node, bool postMessages,
                                                  const std::function<void()>& first)
{
    if (!node) throw CbException(CB_HERE, "there is no node to remove the children of");
    ChangeMessages messages;
    if (postMessages) {
        auto nodes = CollectPostOrder(*node);
        nodes.pop_back(); // the node itself
        messages.AddRemoved(nodes);
    }
    getNodeManager().DeleteChildren(node, first);
    messages.Post();
}
