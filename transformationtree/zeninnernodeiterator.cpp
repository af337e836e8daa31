#include "transformationtree/zeninnernodeiterator.h"

using Iterator = ZeCTransformationNode::ZeNInnerNodeIterator;

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
