#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "platform/base/cystreamreadbinarybuffer.h"
#include "platform/base/cystreamwritebinarybuffer.h"
#include "platform/datacontainer/zecsurfelcollectionqmt.h"
#include "tests/platform/datacontainer/surfels.h"

#include <vector>

namespace
{

using AttributeSet = ZeCSurfelContainer::ESurfelAttributeSet;

std::vector<std::uint8_t> Stored(const ZeCSurfelCollectionQMT& collection)
{
    CyStreamWriteBinaryBuffer stream;
    collection.Serialize(stream);
    const auto bytes = stream.GetBytes();
    return {bytes.begin(), bytes.end()};
}

void Read(ZeCSurfelCollectionQMT& collection, std::span<const std::uint8_t> bytes)
{
    CyStreamReadBinaryBuffer stream(bytes);
    collection.Serialize(stream);
}

} // namespace

TEST(StoredCollection, HasTheBytesOfVersion1)
{
    const auto one = CbMake<ZeCSurfelCollectionQMT>(1, true, AttributeSet::Subsampled, nullptr);
    one->GetPositionAccessor()[0] = {1, -2, 0.5F};
    one->GetNormalAccessor()[0] = ZeCQuantizedNormal::FromCode(0x1234);
    one->GetColorAccessor()[0] = {10, 20, 30, 40};
    one->GetQualityAccessor().data()[0] = 50;
    one->GetTissueTypeAccessor()[0] = 60;
    one->GetBoundaryFlagAccessor()[0] = true;
    one->GetCurvatureAccessor()[0] = 70;
    const std::vector<std::uint8_t> expected = {
        1,    0,    0,    0,    1,  0,  0,  0,    1, 0, 0, 0,    //
        0,    0,    0x80, 0x3F, 0,  0,  0,  0xC0, 0, 0, 0, 0x3F, //
        0x34, 0x12, 10,   20,   30, 40, 50, 60,   1, 70};
    EXPECT_EQ(expected, Stored(*one));
}

TEST(StoredCollection, ReadsBackTheSame)
{
    std::mt19937 random(16);
    for (const std::uint32_t count : {0U, 1U, 64U, 5000U}) {
        SCOPED_TRACE(count);
        const auto written = RandomSurfels(random, count);
        const auto read = CbMake<ZeCSurfelCollectionQMT>(7, true, AttributeSet::Complete, nullptr);
        auto bytes = Stored(*written);
        bytes.insert(bytes.end(), {1, 2, 3});
        CyStreamReadBinaryBuffer stream(bytes);
        read->Serialize(stream);
        EXPECT_EQ(3U, stream.Remaining()) << "what follows is left";
        EXPECT_EQ(AttributeSet::Subsampled, read->GetAttributeSet());
        ExpectSameSurfels(*written, *read);
    }
}

TEST(StoredCollection, CutShortAnywhereIsRefusedAndChangesNothing)
{
    std::mt19937 random(17);
    const auto bytes = Stored(*RandomSurfels(random, 70));
    const auto before = RandomSurfels(random, 3);
    const auto target = CbMake<ZeCSurfelCollectionQMT>();
    target->Append(*before, c_matIdentityF);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        ASSERT_THROW(Read(*target, std::span(bytes).first(length)), CbExceptionStream) << length;
    }
    ExpectSameSurfels(*before, *target);
    EXPECT_EQ(AttributeSet::Complete, target->GetAttributeSet());
}

TEST(StoredCollection, WithAHostileHeaderIsRefusedAndChangesNothing)
{
    std::mt19937 random(18);
    const auto before = RandomSurfels(random, 3);
    const auto stored = Stored(*before);
    const auto target = RandomSurfels(random, 3);
    target->CopySurfels(0, *before, 0, 3, false, c_matIdentityF);
    const auto with = [&](std::size_t place, std::uint32_t value) {
        auto bytes = stored;
        std::memcpy(bytes.data() + place, &value, sizeof value);
        return bytes;
    };
    for (const std::uint32_t version : {0U, 2U, 0xFFFFFFFFU}) {
        EXPECT_THROW(Read(*target, with(0, version)), CbExceptionWrongFileVersion) << version;
    }
    EXPECT_THROW(Read(*target, with(4, 2)), CbExceptionStream) << "no such attribute set";
    // Each would ask for more memory than there is, were it believed.
    for (const std::uint32_t count : {4U, 0x10000000U, 0x80000000U, 0xBA2E8BA3U, 0xFFFFFFFFU}) {
        EXPECT_THROW(Read(*target, with(8, count)), CbExceptionStream) << count;
    }
    ExpectSameSurfels(*before, *target);
}
