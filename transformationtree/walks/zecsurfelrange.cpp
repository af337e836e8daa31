#include "transformationtree/walks/zecsurfelrange.h"

void ZeCTransformationNode::ZeCSurfelRange::Cursor::findSurfels()
{
    for (; leaf_; ++leaf_) {
        const auto [leaf, trafo] = leaf_.Borrow();
        container_ = leaf.borrowSurfels();
        nrSurfels_ = container_ != nullptr ? container_->GetNrSurfels() : 0;
        index_ = 0;
        if (nrSurfels_ == 0) continue;
        trafo_ = trafo;
        return;
    }
}
