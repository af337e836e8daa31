#include "transformationtree/zenleafnodeiterator.h"

using Iterator = ZeCTransformationNode::ZeNLeafNodeIterator;

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

CbSmartPointer<ZeCTransformationNodeInner> Iterator::GetFather() const
{
    if (path_.IsEmpty()) return nullptr;
    return CbSmartPointer<ZeCTransformationNodeInner>(&topFather());
}
