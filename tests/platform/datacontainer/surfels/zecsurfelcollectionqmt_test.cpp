#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "platform/datacontainer/surfels/zecsurfelcollectionqmt.h"
#include "tests/platform/datacontainer/surfels.h"
#include "tests/support/storedbytes.h"

#include <cstring>

namespace
{

std::size_t Read(ZeCSurfelCollectionQMT& collection, const Bytes& bytes)
{
    return ReadFrom(bytes, [&](auto& stream) { collection.Serialize(stream); });
}

} // namespace

TEST(StoredCollection, ThatIsSpoiltIsRefusedAndChangesNothing)
{
    using AttributeSet = ZeCSurfelContainer::ESurfelAttributeSet;
    std::mt19937 random(17);
    const auto written = RandomSurfels(random, 70);
    const Bytes stored = Stored([&](auto& stream) { written->Serialize(stream); });
    const auto before = RandomSurfels(random, 3);
    const auto target = CbMake<ZeCSurfelCollectionQMT>();
    target->Append(*before, c_matIdentityF);
    ExpectCutsThrow<CbExceptionStream>(stored, [&](const Bytes& cut) { Read(*target, cut); });
    const auto with = [&](std::size_t place, std::uint32_t value) {
        auto bytes = stored;
        std::memcpy(bytes.data() + place, &value, sizeof value);
        return bytes;
    };
    for (const std::uint32_t version : {0U, 2U, 0xFFFFFFFFU}) {
        EXPECT_THROW(Read(*target, with(0, version)), CbExceptionWrongFileVersion) << version;
    }
    EXPECT_THROW(Read(*target, with(4, 2)), CbExceptionStream) << "no such attribute set";
    // Most would ask for more memory than there is, were they believed.
    for (const std::uint32_t count : {71U, 0x10000000U, 0x80000000U, 0xBA2E8BA3U, 0xFFFFFFFFU}) {
        EXPECT_THROW(Read(*target, with(8, count)), CbExceptionStream) << count;
    }
    ExpectSameSurfels(*before, *target);
    EXPECT_EQ(AttributeSet::Complete, target->GetAttributeSet());

    EXPECT_EQ(0U, Read(*target, stored));
    ExpectSameSurfels(*written, *target);
    EXPECT_EQ(AttributeSet::Subsampled, target->GetAttributeSet());
}
