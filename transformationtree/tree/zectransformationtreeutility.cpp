// Building and removing. Restructuring is in the source beside this one.

#include "transformationtree/tree/zectransformationtreeutility.h"

#include "platform/base/cbexception.h"
#include "transformationtree/manager/internal/creatednodes.h"
#include "transformationtree/manager/zectransformationnodemanager.h"
#include "transformationtree/nodes/internal/collectsubtree.h"
#include "transformationtree/tree/internal/changemessages.h"
#include "transformationtree/tree/internal/nextchild.h"

#include <utility>
#include <vector>

template class CbSingleton<ZeCTransformationTreeUtility>;

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
    Inner place = MakeRoomForNextChild(node, maxChildren, topNode, created, messages);
    created.Keep();
    messages.Post();
    return place;
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
