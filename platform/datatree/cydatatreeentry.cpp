#include "platform/datatree/cydatatreeentry.h"

#include <utility>

void CyDataTreeEntry::LinkLast(CyDataTreeEntry& father) noexcept
{
    parent = &father;
    next = nullptr;
    CyDataTreeEntry* const first = father.firstChild;
    if (first == nullptr) {
        father.firstChild = this;
        previous = this;
    } else {
        previous = std::exchange(first->previous, this);
        previous->next = this;
    }
}

void CyDataTreeEntry::Unlink() noexcept
{
    if (parent == nullptr) return;
    CyDataTreeEntry* const first = parent->firstChild;
    if (next != nullptr) {
        next->previous = previous;
    } else {
        first->previous = previous; // the new last child; the only one goes with this
    }
    (this != first ? previous->next : parent->firstChild) = next;
    parent = nullptr;
    previous = nullptr;
    next = nullptr;
}
