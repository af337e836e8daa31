#include "transformationtree/walks/zencachedleafnodeiterator.h"

using Iterator = ZeCTransformationNode::ZeNCachedLeafNodeIterator;

void Iterator::descendToFirstCached()
{
    while ((path_.IsEmpty() || !topIsCachedLeaf()) && pushFirstChild()) {
    }
}

void Iterator::descendToLastCached()
{
    while ((path_.IsEmpty() || !topIsCachedLeaf()) && pushLastChild()) {
    }
}

// Never goes down from the node it stands on: that stands for its subtree, even if its model is
// gone by now. What it comes to has to be looked at, since models may come and go during the walk.
Iterator& Iterator::operator++()
{
    if (leafRoot_) atRoot_ = false;
    while (!path_.IsEmpty()) {
        if (moveToNextSibling()) descendToFirstCached();
        if (path_.IsEmpty() || topIsCachedLeaf()) break;
    }
    return *this;
}

Iterator& Iterator::operator--()
{
    if (leafRoot_) atRoot_ = false;
    while (!path_.IsEmpty()) {
        if (moveToPreviousSibling()) descendToLastCached();
        if (path_.IsEmpty() || topIsCachedLeaf()) break;
    }
    return *this;
}
