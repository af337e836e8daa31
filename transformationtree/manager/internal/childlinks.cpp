#include "transformationtree/manager/internal/childlinks.h"

#include "transformationtree/manager/internal/insertable.h"
#include "transformationtree/nodes/internal/zectransformationnodeaccess.h"

#include <algorithm>

namespace
{

using Access = ZeCTransformationNodeAccess;

constexpr unsigned int c_allRevisions = ZeCTransformationNode::c_allRevisions;

} // namespace

bool HasChildren(const ZeCTransformationNode& node)
{
    const ZeCTransformationNodeInner* const inner = node.AsInner();
    return inner != nullptr && inner->GetNrChildren() != 0;
}

std::size_t IndexOf(const ZeCTransformationNodeInner& father,
                    const ZeCTransformationNode* child) noexcept
{
    const auto position =
        std::find_if(father.BeginChild(), father.EndChild(),
                     [&](const NodePointer& listed) { return listed.Get() == child; });
    return static_cast<std::size_t>(position - father.BeginChild());
}

void ReserveMore(ZeCChildList& children, std::size_t number)
{
    // At least doubled, or many single insertions would copy the list each time.
    const std::size_t needed = children->size() + number;
    if (needed > children->capacity()) {
        children.Reserve(std::max<std::size_t>({4, 2 * children->capacity(), needed}));
    }
}

void InsertLinked(const InnerPointer& father, std::size_t index, const NodePointer& child)
{
    EraseStaleEntry(*father, *child, index);
    Access::GetChildren(*father).Insert(index, child);
    Access::SetFather(*child, father);
}

void EraseStaleEntry(ZeCTransformationNodeInner& father, const ZeCTransformationNode& child,
                     std::size_t& index)
{
    if (!Access::MayBeStale(child) || child.IsChildOf(father)) return;
    const std::size_t stale = IndexOf(father, &child);
    if (stale == father.GetNrChildren()) return;
    Access::GetChildren(father).Erase(stale);
    if (stale < index) --index;
}

void EraseStaleEntries(ZeCTransformationNode& node)
{
    ZeCTransformationNodeInner* const father = node.AsInner();
    if (father == nullptr) return;
    const std::size_t erased = Access::GetChildren(*father).EraseIf(
        [&](const NodePointer& child) { return child && !child->IsChildOf(*father); });
    if (erased != 0) father->NewNodeRevision(c_allRevisions);
}

void Relink(const BorrowedNodes& sorted, const std::vector<InnerPointer>& oldFathers,
            const InnerPointer& newFather)
{
    // After an exchange the new father may list a node already, which it would get twice.
    const auto mayBeStale = [](const auto* node) { return Access::MayBeStale(*node); };
    if (std::any_of(sorted.begin(), sorted.end(), mayBeStale)) {
        Access::GetChildren(*newFather).EraseIf([&](const NodePointer& child) {
            return Contains(sorted, child.Get());
        });
    }
    // Without fathers the nodes are told from their siblings that stay, so that one pass over each
    // list is enough, however many leave it.
    for (ZeCTransformationNode* const node : sorted) Access::SetFather(*node, nullptr);
    for (const InnerPointer& father : oldFathers) {
        Access::GetChildren(*father).EraseIf(
            [&](const NodePointer& child) { return !child || !child->IsChildOf(*father); });
        father->NewNodeRevision(c_allRevisions);
    }
    for (ZeCTransformationNode* const node : sorted) Access::SetFather(*node, newFather);
}

void CutLinks(ZeCTransformationNode& node)
{
    Access::SetFather(node, nullptr);
    // Children keep their link to this father until they are cut themselves: they may have another.
    if (auto* const inner = node.AsInner()) Access::GetChildren(*inner).Clear();
}
