#include "platform/datacontainer/sampling/internal/sums/zecgridsums.h"

#include "platform/datacontainer/sampling/internal/sums/zecunweightedgridsums.h"
#include "platform/datacontainer/sampling/internal/sums/zecweightedgridsums.h"

std::unique_ptr<ZeCGridSums> ZeCGridSums::Make(float qualityGain)
{
    const auto weights = ZeCGridWeights(qualityGain);
    if (ZeCAreEqual(weights)) return std::make_unique<ZeCUnweightedGridSums>();
    return std::make_unique<ZeCWeightedGridSums>(weights);
}
