#include "platform/datacontainer/internal/zecunweightedgridsums.h"
#include "platform/datacontainer/internal/zecweightedgridsums.h"

#include <algorithm>

std::unique_ptr<ZeCGridSums> ZeCGridSums::Make(float qualityGain)
{
    const auto weights = ZeCGridWeights(qualityGain);
    if (std::equal(weights.begin() + 1, weights.end(), weights.begin())) {
        return std::make_unique<ZeCUnweightedGridSums>();
    }
    return std::make_unique<ZeCWeightedGridSums>(weights);
}
