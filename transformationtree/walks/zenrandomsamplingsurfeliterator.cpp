#include "transformationtree/walks/zenrandomsamplingsurfeliterator.h"

#include <utility>

using Iterator = ZeCTransformationNode::ZeNRandomSamplingSurfelIterator;

Iterator::ZeNRandomSamplingSurfelIterator(ZeNRandomAccessSurfelIterator surfels, int k) noexcept
    : ZeNRandomAccessSurfelIterator(std::move(surfels))
{
    // Unsigned, as numbers of surfels are: they may be above what an int holds.
    InitByNrSamples(static_cast<int>(GetNrOfOverallSurfels() / static_cast<std::uint32_t>(k)));
}

void Iterator::InitByNrSamples(int number) noexcept
{
    sample_ = 0;
    nrSamples_ = static_cast<std::uint32_t>(number);
    index_ = 0;
}
