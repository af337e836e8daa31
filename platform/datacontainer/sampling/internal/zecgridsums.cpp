#include "platform/datacontainer/sampling/internal/zecgridsums.h"

#include "platform/datacontainer/sampling/internal/zecunweightedgridsums.h"
#include "platform/datacontainer/sampling/internal/zecweightedgridsums.h"

std::unique_ptr<ZeCGridSums> ZeCGridSums::Make(float qualityGain)
{
    const auto weights = ZeCGridWeights(qualityGain);
    if (ZeCAreEqual(weights)) return std::make_unique<ZeCUnweightedGridSums>();
    return std::make_unique<ZeCWeightedGridSums>(weights);
}
