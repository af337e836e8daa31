#include "transformationtree/walks/zenleafnodeiterator.h"

using Iterator = ZeCTransformationNode::ZeNLeafNodeIterator;

Iterator& Iterator::operator++() { return toNextStop(*this); }

Iterator& Iterator::operator--() { return toPreviousStop(*this); }

CbSmartPointer<ZeCTransformationNodeInner> Iterator::GetFather() const
{
    if (path_.IsEmpty()) return nullptr;
    return CbSmartPointer<ZeCTransformationNodeInner>(&topFather());
}
