#include "platform/datatree/cydatatreeentry.h"

void CyDataTreeEntry::LinkLast(CyDataTreeEntry& father) noexcept
{
    parent = &father;
    father.children.PushBack(*this);
}

void CyDataTreeEntry::Unlink() noexcept
{
    if (parent == nullptr) return;
    parent->children.Remove(*this);
    parent = nullptr;
}
