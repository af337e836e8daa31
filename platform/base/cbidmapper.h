#pragma once

#include "platform/base/cbarray.h"
#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbhashkey.h"
#include "platform/base/cbmap.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cyuniqueid.h"

#include <utility>

/// What the mappers of stored ids share: they keep the objects that were written or read, and
/// resolve the ids by which records name them.
///
/// Threads: ListMappedModelIDs() and ClearMapping() lock, the others do not: streams are written
/// and read on one thread at a time.
template<class Object>
class CbIDMapper
{
public:
    CbIDMapper(const CbIDMapper&) = delete;
    CbIDMapper& operator=(const CbIDMapper&) = delete;

    /// Appends all mapped ids to the array, in the order of the map.
    void ListMappedModelIDs(CbArray<CyUniqueID>& ids) const
    {
        const CbCriticalSectionLock lock(section_);
        ids.Reserve(ids.GetCount() + objects_.GetCount());
        for (const auto& [id, object] : objects_) ids.Append(id);
    }
    /// Forgets all objects.
    void ClearMapping()
    {
        decltype(objects_) cleared; // goes after the section is left
        const CbCriticalSectionLock lock(section_);
        objects_.Swap(cleared);
    }

protected:
    /// Null for none.
    using Pointer = CbSmartPointer<Object>;

    CbIDMapper() = default;
    ~CbIDMapper() = default;

    /// Returns the object mapped to an id, or null.
    [[nodiscard]] Pointer find(const CyUniqueID& id) const
    {
        const Pointer* const object = objects_.Find(id);
        return object != nullptr ? *object : nullptr;
    }
    /// Reads an id and returns the object mapped to it, or null.
    [[nodiscard]] Pointer readReference(CbStreamReadBinary& stream) const
    {
        CyUniqueID id;
        id.Serialize(stream);
        return find(id);
    }
    /// Maps an object, in place of one with the same id.
    void map(const CyUniqueID& id, Pointer object) { objects_.Set(id, std::move(object)); }

private:
    mutable CbCriticalSection section_;
    CbMap<CyUniqueID, Pointer, CbHashKey<CyUniqueID>> objects_;
};
