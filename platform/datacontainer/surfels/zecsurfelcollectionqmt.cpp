#include "platform/datacontainer/surfels/zecsurfelcollectionqmt.h"

#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace
{

constexpr std::uint32_t c_version = 1;

// Any byte but 0 is true, as it is for single values; what is stored as bool must be 0 or 1.
void readFlags(CbStreamReadBinary& stream, bool* flags, std::size_t count)
{
    std::array<std::uint8_t, 4096> bytes;
    for (std::size_t n = 0; count > 0; count -= n, flags += n) {
        n = std::min(count, bytes.size());
        stream.ReadBuffer(bytes.data(), n);
        std::transform(bytes.begin(), bytes.begin() + n, flags,
                       [](auto byte) { return byte != 0; });
    }
}

} // namespace

const CbRTTI ZeCSurfelCollectionQMT::RTTI(CB_TEXT("ZeCSurfelCollectionQMT"), &CreateByFactory,
                                          &CloneByFactory, &ZeCSurfelContainer::RTTI);

ZeCSurfelCollectionQMT::ZeCSurfelCollectionQMT(std::uint32_t count, bool fill,
                                               ESurfelAttributeSet attributeSet,
                                               const void* rayImage)
    : CbClonableObject(count, fill, attributeSet), rayImage_(rayImage)
{}

ZeCSurfelCollectionQMT::~ZeCSurfelCollectionQMT() = default;

void ZeCSurfelCollectionQMT::Serialize(CbStreamWriteBinary& stream) const
{
    const ZeCSurfelArrays& arrays = getArrays();
    const std::size_t count = arrays.GetSize();
    stream.WriteVersion(c_version);
    stream << static_cast<std::int32_t>(GetAttributeSet()) << arrays.GetSize();
    const auto write = [&](const auto* array) { stream.WriteBuffer(array, count * sizeof *array); };
    write(arrays.GetPositions());
    write(arrays.GetNormals());
    write(arrays.GetColors());
    write(arrays.GetQualities());
    write(arrays.GetTissueTypes());
    write(arrays.GetBoundaryFlags());
    write(arrays.GetCurvatures());
}

void ZeCSurfelCollectionQMT::Serialize(CbStreamReadBinary& stream)
{
    stream.ReadKnownVersion(c_version, c_version, __FILE__, __LINE__);
    std::int32_t attributeSet = 0;
    std::uint32_t count = 0;
    stream >> attributeSet >> count;
    if (attributeSet != static_cast<std::int32_t>(ESurfelAttributeSet::Complete) &&
        attributeSet != static_cast<std::int32_t>(ESurfelAttributeSet::Subsampled)) {
        throw CbExceptionStream(CB_HERE, "unknown attribute set " + std::to_string(attributeSet));
    }
    if (count > stream.Remaining() / ZeCSurfelArrays::c_bytesPerSurfel) {
        throw CbExceptionStream(CB_HERE, std::to_string(count) + " surfels cannot be in the " +
                                             std::to_string(stream.Remaining()) + " bytes left");
    }

    ZeCSurfelArrays arrays(count);
    const auto read = [&](auto* array) {
        stream.ReadBuffer(static_cast<void*>(array), count * sizeof *array);
    };
    read(arrays.GetPositions());
    read(arrays.GetNormals());
    read(arrays.GetColors());
    read(arrays.GetQualities());
    read(arrays.GetTissueTypes());
    readFlags(stream, arrays.GetBoundaryFlags(), count);
    read(arrays.GetCurvatures());
    setContent(static_cast<ESurfelAttributeSet>(attributeSet), std::move(arrays));
}
