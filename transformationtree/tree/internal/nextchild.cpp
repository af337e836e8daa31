#include "transformationtree/tree/internal/nextchild.h"

#include <utility>
#include <vector>

namespace
{

using EModified = ZeCMessageTreeStructureModified::EModificationType;

} // namespace

InnerPointer MakeRoomForNextChild(const InnerPointer& node, unsigned int maxChildren,
                                  InnerPointer& topNode, CreatedNodes& created,
                                  ChangeMessages& messages)
{
    //     top (full)            new top
    //      |                     |    |
    //     ...(full)      ->     top  "Inner"
    //      |                     |    |
    //     node (full)           ...  "Inner"   the place for the next child
    //
    // If a node between top and node has room, the branch of new nodes hangs there, and no top is
    // made.
    const auto isFull = [&](const InnerPointer& inner) {
        return inner->GetNrChildren() >= maxChildren;
    };
    std::size_t levels = 0; // of the branch that will lead down to where the node is
    InnerPointer place = node;
    for (; place && isFull(place) && place != topNode; place = place->GetFather()) ++levels;
    if (!place) return nullptr;
    const InnerPointer oldTop = isFull(place) ? place : nullptr;
    const InnerPointer topFather = oldTop ? oldTop->GetFather() : nullptr;
    // A new top that is full with the old one alone would need another one above it, and so on.
    if (oldTop && (!topFather || maxChildren < 2)) return nullptr;

    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    if (oldTop) {
        place = created.CreateInner(oldTop->GetDescription());
        place->ReserveChildren(2);
        messages.AddTreeStructureModified(place, oldTop, EModified::eTopInserted);
        messages.AddTreeStructureModified(oldTop, place, EModified::eNodeMoved);
        ++levels;
    }
    // The branch is complete before it comes into the tree. Each node stands below the one before.
    std::vector<InnerPointer> branch;
    branch.reserve(levels + 1);
    branch.push_back(place);
    for (; levels > 0; --levels) {
        const InnerPointer inner = created.CreateInner(CB_TEXT("Inner"));
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
    InnerPointer last = branch.back();
    std::swap(branch.back(), branch[branch.size() - 2]);
    for (const InnerPointer& inner : branch) {
        inner->NewNodeRevision(ZeCTransformationNode::c_allRevisions);
    }
    return last;
}
