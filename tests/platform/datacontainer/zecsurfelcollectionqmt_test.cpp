#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "platform/datacontainer/zecsurfelcollectionqmt.h"
#include "tests/platform/datacontainer/surfels.h"
#include "tests/support/storedbytes.h"

#include <cstring>

namespace
{

using AttributeSet = ZeCSurfelContainer::ESurfelAttributeSet;

Bytes StoredOf(const ZeCSurfelCollectionQMT& collection)
{
    return Stored([&](auto& stream) { collection.Serialize(stream); });
}

std::size_t Read(ZeCSurfelCollectionQMT& collection, const Bytes& bytes)
{
    return ReadFrom(bytes, [&](auto& stream) { collection.Serialize(stream); });
}

} // namespace

TEST(StoredCollection, ReadsBackTheSame)
{
    std::mt19937 random(16);
    for (const std::uint32_t count : {0U, 1U, 64U, 5000U}) {
        SCOPED_TRACE(count);
        const auto written = RandomSurfels(random, count);
        const auto read = CbMake<ZeCSurfelCollectionQMT>(7, true, AttributeSet::Complete, nullptr);
        auto bytes = StoredOf(*written);
        bytes.insert(bytes.end(), {1, 2, 3});
        EXPECT_EQ(3U, Read(*read, bytes)) << "what follows is left";
        EXPECT_EQ(AttributeSet::Subsampled, read->GetAttributeSet());
        ExpectSameSurfels(*written, *read);
    }
}

TEST(StoredCollection, CutShortAnywhereIsRefusedAndChangesNothing)
{
    std::mt19937 random(17);
    const auto bytes = StoredOf(*RandomSurfels(random, 70));
    const auto before = RandomSurfels(random, 3);
    const auto target = CbMake<ZeCSurfelCollectionQMT>();
    target->Append(*before, c_matIdentityF);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        ASSERT_THROW(Read(*target, cut), CbExceptionStream) << length;
    }
    ExpectSameSurfels(*before, *target);
    EXPECT_EQ(AttributeSet::Complete, target->GetAttributeSet());
}

TEST(StoredCollection, WithAHostileHeaderIsRefusedAndChangesNothing)
{
    std::mt19937 random(18);
    const auto before = RandomSurfels(random, 3);
    const auto stored = StoredOf(*before);
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
