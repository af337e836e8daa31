// Records of attributes. The first byte of an input picks the class, the record follows.

#include "platform/base/cbcreate.h"
#include "platform/base/cbexception.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/support/storedbytes.h"
#include "transformationtree/transformationtree.h"

#include <array>

namespace
{

constexpr std::array c_classes = {
    CB_TEXT("ZeCAreaPropertiesAttribute"),
    CB_TEXT("ZeCBackgroundOptimizationLoopCountAttribute"),
    CB_TEXT("ZeCDisconnectedComponentWarningAttribute"),
    CB_TEXT("ZeCImageAreaDataAttribute"),
    CB_TEXT("ZeCJawSemanticsAttribute"),
    CB_TEXT("ZeCRegistrationHintsAttribute"),
    CB_TEXT("ZeCRepresentativeAttribute"),
};

// What can be computed of what was read.
void query(const ZeARTTIAttribute& attribute)
{
    if (const auto* area = dynamic_cast<const ZeCImageAreaDataAttribute*>(&attribute)) {
        EXPECT_FALSE(area->ToString().IsEmpty());
    } else if (const auto* jaw = dynamic_cast<const ZeCJawSemanticsAttribute*>(&attribute)) {
        for (const auto* binning :
             {&jaw->GetOcclusalDirectionBinning(), &jaw->GetExtraoralDirectionBinning()}) {
            const CbVector3f mean = binning->ComputeMeanDirectionAboveThresholdCount(0);
            const float squaredLength = mean.x * mean.x + mean.y * mean.y + mean.z * mean.z;
            if (mean == CbVector3f{}) continue;
            EXPECT_NEAR(squaredLength, 1, 1e-5);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const LittleMemory memory(size);
    const CString className = c_classes[data[0] % c_classes.size()];
    const auto attribute = CbCreate<ZeARTTIAttribute>(className);
    const Bytes before = RecordOf(*attribute);
    try {
        ReadRecord(*attribute, {data + 1, data + size});
    } catch (const CbException&) {
        EXPECT_EQ(RecordOf(*attribute), before);
        return 0;
    }
    const Bytes record = RecordOf(*attribute);
    const auto again = CbCreate<ZeARTTIAttribute>(className);
    EXPECT_EQ(ReadRecord(*again, record), 0U);
    EXPECT_EQ(RecordOf(*again), record);
    query(*attribute);
    return 0;
}
