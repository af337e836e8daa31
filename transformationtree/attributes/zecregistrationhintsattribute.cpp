#include "transformationtree/attributes/zecregistrationhintsattribute.h"

#include "transformationtree/attributes/internal/storedsurfelcollection.h"
#include "transformationtree/nodes/internal/fixedplaces.h"

namespace
{

constexpr std::uint32_t c_version = 1;

} // namespace

const CbRTTI ZeCRegistrationHintsAttribute::RTTI(CB_TEXT("ZeCRegistrationHintsAttribute"),
                                                 &CreateByFactory, &CloneByFactory,
                                                 &ZeARTTIAttribute::RTTI);

ZeCRegistrationHintsAttribute::ZeCRegistrationHintsAttribute(
    const ZeCRegistrationHintsAttribute& other)
    : CbClonableObject(other)
{
    const CbCriticalSectionLock lock(other.section_);
    collection_ = other.collection_;
    displayMode_ = other.displayMode_;
    computationStatus_ = other.computationStatus_;
    triangulations_ = other.triangulations_;
    hintsComputedRevision_ = other.hintsComputedRevision_;
}

// What was held goes with the copy, after the lock. The copy is nobody else's and needs none.
ZeCRegistrationHintsAttribute& ZeCRegistrationHintsAttribute::operator=(
    const ZeCRegistrationHintsAttribute& other) CB_NO_THREAD_SAFETY_ANALYSIS
{
    ZeCRegistrationHintsAttribute copy(other);
    const CbCriticalSectionLock lock(section_);
    collection_.Swap(copy.collection_);
    displayMode_ = copy.displayMode_;
    computationStatus_ = copy.computationStatus_;
    triangulations_.swap(copy.triangulations_);
    hintsComputedRevision_ = copy.hintsComputedRevision_;
    return *this;
}

ZeCRegistrationHintsAttribute::~ZeCRegistrationHintsAttribute() = default;

CbSmartPointer<const CySurfelCollectionBase>
ZeCRegistrationHintsAttribute::GetRegistrationHintSurfelCollection() const
{
    const CbCriticalSectionLock lock(section_);
    return collection_;
}

// The old collection goes with the parameter, after the lock.
void ZeCRegistrationHintsAttribute::SetRegistrationHintSurfelCollection(
    CbSmartPointer<CySurfelCollectionBase> collection)
{
    const CbCriticalSectionLock lock(section_);
    collection_.Swap(collection);
}

ZeCRegistrationHintsAttribute::ESurfelCollectionDisplayMode
ZeCRegistrationHintsAttribute::GetDisplayMode() const
{
    const CbCriticalSectionLock lock(section_);
    return displayMode_;
}

void ZeCRegistrationHintsAttribute::SetDisplayMode(ESurfelCollectionDisplayMode mode)
{
    const CbCriticalSectionLock lock(section_);
    displayMode_ = mode;
}

ZeCRegistrationHintsAttribute::EComputationStatus
ZeCRegistrationHintsAttribute::GetComputationStatus() const
{
    const CbCriticalSectionLock lock(section_);
    return computationStatus_;
}

void ZeCRegistrationHintsAttribute::SetComputationStatus(EComputationStatus status)
{
    const CbCriticalSectionLock lock(section_);
    computationStatus_ = status;
}

void ZeCRegistrationHintsAttribute::SetTriangulations(const Triangulations& triangulations)
{
    triangulations_ = triangulations;
}

void ZeCRegistrationHintsAttribute::Serialize(CbStreamWriteBinary& stream) const
{
    const CbCriticalSectionLock lock(section_);
    // Status, triangulations and revision can be computed again, and are not stored.
    stream.WriteVersion(c_version);
    stream << static_cast<std::uint32_t>(displayMode_);
    WriteSurfelCollection(stream, collection_.Get());
}

void ZeCRegistrationHintsAttribute::Serialize(CbStreamReadBinary& stream)
{
    CbSmartPointer<CySurfelCollectionBase> collection; // released after the lock
    const CbCriticalSectionLock lock(section_);
    constexpr FixedPlace place = FixedPlaces::c_registrationHintsVersion;
    stream.ReadKnownVersion(c_version, c_version, place.file, place.line);
    std::uint32_t displayMode = 0;
    stream >> displayMode;
    collection = collection_; // stays if none was stored
    ReadSurfelCollection(stream, collection);
    // From here on nothing throws.
    displayMode_ = static_cast<ESurfelCollectionDisplayMode>(displayMode);
    collection_.Swap(collection);
}

bool ZeCRegistrationHintsAttribute::ResetAttribute()
{
    Triangulations removed; // go after the lock
    const CbCriticalSectionLock lock(section_);
    displayMode_ = ESurfelCollectionDisplayMode::Default;
    computationStatus_ = EComputationStatus::Default;
    triangulations_.swap(removed);
    return true;
}
