#pragma once

#include "platform/base/cbclonableobject.h"
#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbobject.h"
#include "platform/base/cbrtti.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "platform/base/cyuniqueid.h"
#include "platform/datacontainer/surfels/zecsurfelcollectionqmt.h"

#include <concepts>
#include <cstdint>

/// A scanned model, or one merged from several: surfel collections with an id and a description.
///
/// Models are shared between nodes as const; what they hold never changes but for the description.
///
/// Threads: the description has its own critical section and may be changed on a const model; all
/// else is set before a model is shared.
class PLATFORM_API ZeCModelQMT : public CbClonableObject<ZeCModelQMT, CbObject>
{
public:
    /// Which of its collections a model is asked for. Other values are legal and name none.
    enum class ESurfelCollectionType : std::int32_t
    {
        Standard = 1,
        Accurate = 3
    };

    /// The record of this class.
    static const CbRTTI RTTI;

    /// A model without collections. It has an id of its own.
    ZeCModelQMT();
    /// @param collection the standard collection, may be null
    /// @param alsoAccurate whether it answers for the accurate one as well, which is null otherwise
    template<std::same_as<bool> Flag> // nothing that converts: a raw pointer is no flag
    ZeCModelQMT(CbSmartPointer<const ZeCSurfelCollectionQMT> collection, Flag alsoAccurate)
        : ZeCModelQMT(collection, alsoAccurate ? collection : nullptr)
    {}
    /// A model with a collection of either type; each may be null.
    ZeCModelQMT(CbSmartPointer<const ZeCSurfelCollectionQMT> standard,
                CbSmartPointer<const ZeCSurfelCollectionQMT> accurate);

    /// Never nil, and of this model alone.
    [[nodiscard]] const CyUniqueID& GetID() const noexcept { return id_; }

    /// Returns the collection of a type, or null.
    [[nodiscard]] CbSmartPointer<const ZeCSurfelCollectionQMT>
    GetSurfelCollection(ESurfelCollectionType type) const noexcept
    {
        return CbSmartPointer<const ZeCSurfelCollectionQMT>(BorrowSurfelCollection(type));
    }
    /// Returns the collection of a type, or null, and leaves its count alone, for loops.
    /// Lifetime: that of the model.
    [[nodiscard]] const ZeCSurfelCollectionQMT*
    BorrowSurfelCollection(ESurfelCollectionType type) const noexcept
    {
        if (type == ESurfelCollectionType::Standard) return standard_.Get();
        return type == ESurfelCollectionType::Accurate ? accurate_.Get() : nullptr;
    }

    /// A text for people, empty from the start; any thread may read and change it.
    [[nodiscard]] CString GetDescription() const;
    void SetDescription(const CString& description) const;

    /// Tells the order in which models were scanned; 0 from the start.
    [[nodiscard]] std::uint64_t GetAcquireSequenceNumber() const noexcept
    {
        return acquireSequenceNumber_;
    }
    void SetAcquireSequenceNumber(std::uint64_t number) noexcept
    {
        acquireSequenceNumber_ = number;
    }

    /// Writes the model with its collections.
    void Serialize(CbStreamWriteBinary& stream) const;
    /// Becomes the model that was written, with its id. For a model that nobody shares yet.
    /// Throws: CbExceptionWrongFileVersion, CbExceptionStream; the model stays as it was.
    void Serialize(CbStreamReadBinary& stream);

protected:
    /// A model with a new id, the same description and acquisition number, and shared collections.
    ZeCModelQMT(const ZeCModelQMT& other);
    ZeCModelQMT& operator=(const ZeCModelQMT&) = delete;
    ~ZeCModelQMT() override;

private:
    friend CbClonableObject;

    CyUniqueID id_;
    CbSmartPointer<const ZeCSurfelCollectionQMT> standard_;
    CbSmartPointer<const ZeCSurfelCollectionQMT> accurate_; ///< may be the standard one
    mutable CbCriticalSection section_;
    mutable CString description_ CB_GUARDED_BY(section_);
    std::uint64_t acquireSequenceNumber_ = 0;
};
