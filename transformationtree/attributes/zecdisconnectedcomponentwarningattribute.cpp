#include "transformationtree/attributes/zecdisconnectedcomponentwarningattribute.h"

#include "transformationtree/attributes/internal/storedsurfelcollection.h"
#include "transformationtree/nodes/internal/fixedplaces.h"

namespace
{

constexpr std::uint32_t c_version = 1;

} // namespace

const CbRTTI ZeCDisconnectedComponentWarningAttribute::RTTI(
    CB_TEXT("ZeCDisconnectedComponentWarningAttribute"), &CreateByFactory, &CloneByFactory,
    &ZeARTTIAttribute::RTTI);

ZeCDisconnectedComponentWarningAttribute::ZeCDisconnectedComponentWarningAttribute(
    const ZeCDisconnectedComponentWarningAttribute& other)
    : CbClonableObject(other)
{
    const CbCriticalSectionLock lock(other.section_);
    collection_ = other.collection_;
    warningComputedRevision_ = other.warningComputedRevision_;
}

// What was held goes with the copy, after the lock.
ZeCDisconnectedComponentWarningAttribute& ZeCDisconnectedComponentWarningAttribute::operator=(
    const ZeCDisconnectedComponentWarningAttribute& other)
{
    ZeCDisconnectedComponentWarningAttribute copy(other);
    const CbCriticalSectionLock lock(section_);
    collection_.Swap(copy.collection_);
    warningComputedRevision_ = copy.warningComputedRevision_;
    return *this;
}

ZeCDisconnectedComponentWarningAttribute::~ZeCDisconnectedComponentWarningAttribute() = default;

void ZeCDisconnectedComponentWarningAttribute::Serialize(CbStreamWriteBinary& stream) const
{
    const CbCriticalSectionLock lock(section_);
    stream.WriteVersion(c_version);
    WriteSurfelCollection(stream, collection_.Get());
}

void ZeCDisconnectedComponentWarningAttribute::Serialize(CbStreamReadBinary& stream)
{
    CbSmartPointer<CySurfelCollectionBase> collection; // released after the lock
    const CbCriticalSectionLock lock(section_);
    constexpr FixedPlace place = FixedPlaces::c_componentWarningVersion;
    stream.ReadKnownVersion(c_version, c_version, place.file, place.line);
    collection = collection_; // stays if none was stored
    ReadSurfelCollection(stream, collection);
    collection_.Swap(collection);
}

bool ZeCDisconnectedComponentWarningAttribute::ResetAttribute()
{
    const CbCriticalSectionLock lock(section_); // to come after a serialization that runs
    return true;
}
