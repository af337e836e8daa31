#include "transformationtree/walks/zensurfeliterator.h"

using Iterator = ZeCTransformationNode::ZeNSurfelIterator;

Iterator::ZeNSurfelIterator(ZeNLeafNodeIterator first) : leaf_(std::move(first))
{
    if (leaf_) enterLeaf();
}

Iterator::ZeNSurfelIterator(const ZeCTransformationNodeLeaf& leaf)
    : container_(CbSmartPointer<const ZeCSurfelContainer>(leaf.borrowSurfels())),
      singleContainer_(true)
{}

void Iterator::enterNextLeaf()
{
    ++leaf_;
    if (leaf_) enterLeaf();
}

void Iterator::enterLeaf() noexcept
{
    const auto [leaf, trafo] = leaf_.Borrow();
    trafo_ = trafo; // a copy, which is still there when the walk is over
    container_ = CbSmartPointer<const ZeCSurfelContainer>(leaf.borrowSurfels());
    index_ = 0;
}
