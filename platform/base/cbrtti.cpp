#include "platform/base/cbrtti.h"

#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbimmortal.h"

#include <unordered_map>

namespace
{

struct Registry
{
    CbCriticalSection section;
    std::unordered_map<CString::View, const CbRTTI*> types CB_GUARDED_BY(section);
};

// Never destroyed: records of other modules may go later.
Registry& registry()
{
    static const CbImmortal<Registry> instance;
    return *instance;
}

} // namespace

CbRTTI::CbRTTI(const CbWChar* name, CreateFunction create, CloneFunction clone, const CbRTTI* base)
    : name_(name), create_(create), clone_(clone), base_(base)
{
    Registry& all = registry();
    const CbCriticalSectionLock lock(all.section);
    all.types.emplace(name_, this);
}

CbRTTI::~CbRTTI()
{
    Registry& all = registry();
    const CbCriticalSectionLock lock(all.section);
    const auto entry = all.types.find(name_);
    if (entry != all.types.end() && entry->second == this) all.types.erase(entry);
}

bool CbRTTI::IsKindOf(const CbRTTI& type) const noexcept
{
    for (const CbRTTI* record = this; record != nullptr; record = record->base_) {
        if (record == &type) return true;
    }
    return false;
}

const CbRTTI* CbRTTI::Find(const CString& name)
{
    Registry& all = registry();
    const CbCriticalSectionLock lock(all.section);
    const auto entry = all.types.find(name.GetView());
    return entry != all.types.end() ? entry->second : nullptr;
}

CbRTTI::CreateFunction CbRTTI::getCreate(const CString& name)
{
    const CbRTTI* const type = Find(name);
    return type != nullptr ? type->create_ : nullptr;
}
