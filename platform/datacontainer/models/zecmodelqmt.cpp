#include "platform/datacontainer/models/zecmodelqmt.h"

#include "platform/base/cbexceptionstream.h"

#include <string>
#include <utility>

namespace
{

using Collection = CbSmartPointer<const ZeCSurfelCollectionQMT>;

constexpr std::uint32_t c_version = 1;

// How a collection is stored.
enum EStored : std::uint32_t
{
    eNone = 0,
    eOwn = 1,       ///< it follows
    eAsStandard = 2 ///< it is the standard one
};

void write(CbStreamWriteBinary& stream, EStored stored, const Collection& collection)
{
    stream << std::uint32_t{stored};
    if (stored == eOwn) collection->Serialize(stream);
}

Collection read(CbStreamReadBinary& stream, const Collection& standard)
{
    std::uint32_t stored = 0;
    stream >> stored;
    if (stored == eNone) return nullptr;
    if (stored == eAsStandard && standard) return standard;
    if (stored != eOwn) {
        throw CbExceptionStream(CB_HERE, "cannot read a surfel collection stored as " +
                                             std::to_string(stored));
    }
    const auto collection = CbMake<ZeCSurfelCollectionQMT>();
    collection->Serialize(stream);
    return collection;
}

} // namespace

const CbRTTI ZeCModelQMT::RTTI(CB_TEXT("ZeCModelQMT"), &CreateByFactory, &CloneByFactory);

ZeCModelQMT::ZeCModelQMT() { id_.Renew(); }

ZeCModelQMT::ZeCModelQMT(CbSmartPointer<const ZeCSurfelCollectionQMT> standard,
                         CbSmartPointer<const ZeCSurfelCollectionQMT> accurate)
    : standard_(std::move(standard)), accurate_(std::move(accurate))
{
    id_.Renew();
}

ZeCModelQMT::ZeCModelQMT(const ZeCModelQMT& other)
    : CbClonableObject(other),
      standard_(other.standard_),
      accurate_(other.accurate_),
      description_(other.GetDescription()),
      acquireSequenceNumber_(other.acquireSequenceNumber_)
{
    id_.Renew();
}

ZeCModelQMT::~ZeCModelQMT() = default;

CString ZeCModelQMT::GetDescription() const
{
    const CbCriticalSectionLock lock(section_);
    return description_;
}

void ZeCModelQMT::SetDescription(const CString& description) const
{
    CString copy(description);
    const CbCriticalSectionLock lock(section_);
    std::swap(description_, copy);
}

void ZeCModelQMT::Serialize(CbStreamWriteBinary& stream) const
{
    stream.WriteVersion(c_version);
    id_.Serialize(stream);
    stream << GetDescription() << acquireSequenceNumber_;
    const auto accurate = !accurate_ ? eNone : accurate_ != standard_ ? eOwn : eAsStandard;
    write(stream, standard_ ? eOwn : eNone, standard_);
    write(stream, accurate, accurate_);
}

void ZeCModelQMT::Serialize(CbStreamReadBinary& stream)
{
    stream.ReadKnownVersion(c_version, c_version, __FILE__, __LINE__);
    CyUniqueID id;
    id.Serialize(stream);
    if (id.IsNil()) throw CbExceptionStream(CB_HERE, "a stored model has no id");
    CString description;
    std::uint64_t number = 0;
    stream >> description >> number;
    auto standard = read(stream, nullptr);
    auto accurate = read(stream, standard);

    id_ = id;
    SetDescription(description);
    acquireSequenceNumber_ = number;
    standard_ = std::move(standard);
    accurate_ = std::move(accurate);
}
