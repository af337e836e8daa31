#include "transformationtree/zeninnernodeiterator.h"

using Iterator = ZeCTransformationNode::ZeNInnerNodeIterator;

Iterator::Borrowed Iterator::Borrow() const noexcept
{
    if (path_.IsEmpty()) return {*root_, c_matIdentityD};
    return {static_cast<ZeCTransformationNodeInner&>(topNode()), path_.Top().trafo};
}

Iterator& Iterator::operator++()
{
    do {
        ZeNNodeIterator::operator++();
    } while (!*this && ZeNNodeIterator::operator bool());
    return *this;
}

Iterator& Iterator::operator--()
{
    do {
        ZeNNodeIterator::operator--();
    } while (!*this && ZeNNodeIterator::operator bool());
    return *this;
}
