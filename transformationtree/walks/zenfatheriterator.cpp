#include "transformationtree/walks/zenfatheriterator.h"

ZeCTransformationNode::ZeNFatherIterator& ZeCTransformationNode::ZeNFatherIterator::operator++()
{
    atRoot_ = false;
    if (path_.IsEmpty()) return *this;
    path_.Pop(); // the entry above still has its transformation
    atRoot_ = path_.IsEmpty();
    return *this;
}
