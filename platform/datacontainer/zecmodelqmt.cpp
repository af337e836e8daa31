#include "platform/datacontainer/zecmodelqmt.h"

#include <utility>

const CbRTTI ZeCModelQMT::RTTI(CB_TEXT("ZeCModelQMT"), &CreateByFactory, &CloneByFactory);

ZeCModelQMT::ZeCModelQMT() { id_.Renew(); }

ZeCModelQMT::ZeCModelQMT(CbSmartPointer<const ZeCSurfelCollectionQMT> standard,
                         CbSmartPointer<const ZeCSurfelCollectionQMT> accurate)
    : standard_(std::move(standard)), accurate_(std::move(accurate))
{
    id_.Renew();
}

ZeCModelQMT::ZeCModelQMT(const ZeCModelQMT& other)
    : CbReferenceCounted(other),
      IObject(other),
      standard_(other.standard_),
      accurate_(other.accurate_),
      description_(other.GetDescription()),
      acquireSequenceNumber_(other.acquireSequenceNumber_)
{
    id_.Renew();
}

ZeCModelQMT::~ZeCModelQMT() = default;

IObject* ZeCModelQMT::CreateByFactory() { return new ZeCModelQMT; }

IObject* ZeCModelQMT::CloneByFactory(const IObject& object)
{
    return new ZeCModelQMT(static_cast<const ZeCModelQMT&>(object));
}

const CbRTTI& ZeCModelQMT::GetRTTI() const { return RTTI; }

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
