#include "transformationtree/zecdisconnectedcomponentwarningattribute.h"

#include "transformationtree/internal/storedsurfelcollection.h"

namespace
{

constexpr std::uint32_t c_version = 1;

} // namespace

const CbRTTI ZeCDisconnectedComponentWarningAttribute::RTTI(
    CB_TEXT("ZeCDisconnectedComponentWarningAttribute"), &CreateByFactory, &CloneByFactory,
    &ZeARTTIAttribute::RTTI);

ZeCDisconnectedComponentWarningAttribute::ZeCDisconnectedComponentWarningAttribute(
    const ZeCDisconnectedComponentWarningAttribute& other)
    : ZeARTTIAttribute(other)
{
    const CbCriticalSectionLock lock(other.section_);
    collection_ = other.collection_;
    warningComputedRevision_ = other.warningComputedRevision_;
}

ZeCDisconnectedComponentWarningAttribute::~ZeCDisconnectedComponentWarningAttribute() = default;

IObject* ZeCDisconnectedComponentWarningAttribute::CreateByFactory()
{
    return new ZeCDisconnectedComponentWarningAttribute;
}

IObject* ZeCDisconnectedComponentWarningAttribute::CloneByFactory(const IObject& object)
{
    return new ZeCDisconnectedComponentWarningAttribute(
        static_cast<const ZeCDisconnectedComponentWarningAttribute&>(object));
}

const CbRTTI& ZeCDisconnectedComponentWarningAttribute::GetRTTI() const { return RTTI; }

void ZeCDisconnectedComponentWarningAttribute::Serialize(CbStreamWriteBinary& stream) const
{
    const CbCriticalSectionLock lock(section_);
    stream.WriteVersion(c_version);
    WriteSurfelCollection(stream, collection_.Get());
}

void ZeCDisconnectedComponentWarningAttribute::Serialize(CbStreamReadBinary& stream)
{
    CbSmartPointer<CySurfelCollectionBase> collection; // the old one goes after the lock
    const CbCriticalSectionLock lock(section_);
    stream.ReadVersion(c_version, "zecdisconnectedcomponentwarningattribute", 66);
    collection = ReadSurfelCollection(stream, collection_);
    collection_.Swap(collection);
}

bool ZeCDisconnectedComponentWarningAttribute::ResetAttribute()
{
    const CbCriticalSectionLock lock(section_);
    return true;
}
