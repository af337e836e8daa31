#include "transformationtree/walks/zenrandomaccesssurfeliterator.h"

#include <algorithm>

using Iterator = ZeCTransformationNode::ZeNRandomAccessSurfelIterator;

void Iterator::append(const ZeCTransformationNode& leaf, const CbMatrix4Rd& trafo)
{
    const ZeCSurfelContainer* const surfels = leaf.borrowSurfels();
    if (surfels != nullptr) nrOfOverallSurfels_ += surfels->GetNrSurfels();
    images_.push_back({leaf.model_, trafo});
    offsets_.push_back(nrOfOverallSurfels_);
}

// Of images that begin with the same number all but the last are empty. A number that is too large
// belongs to the last image.
std::uint32_t Iterator::findImage(std::uint32_t i) const noexcept
{
    const auto next = std::upper_bound(offsets_.begin() + 1, offsets_.end() - 1, i);
    const auto image = static_cast<std::uint32_t>(next - offsets_.begin() - 1);
    lastImage_.Set(image);
    return image;
}
