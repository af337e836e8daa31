#pragma once

#include "platform/attributes/zearttiattribute.h"
#include "platform/base/cbsmartpointer.h"

#include <cstddef>
#include <memory>
#include <vector>

/// Attributes of a node, at most one of each exact type, in the order of their first insertion.
///
/// One word large: most nodes have no attributes.
///
/// Threads: not locked; attributes that are shared between threads lock themselves.
/// Cost: look-ups are linear in the number of attributes, which is small.
class PLATFORM_API ZeARTTIAttributeContainer
{
public:
    /// In the order of their first insertion; none is null.
    using Attributes = std::vector<CbSmartPointer<ZeARTTIAttribute>>;
    /// Records of exact types.
    using TypeList = std::vector<const CbRTTI*>;

    ZeARTTIAttributeContainer() = default;
    ZeARTTIAttributeContainer(const ZeARTTIAttributeContainer&) = delete;
    ZeARTTIAttributeContainer& operator=(const ZeARTTIAttributeContainer&) = delete;
    ~ZeARTTIAttributeContainer() = default;

    /// Returns the attribute of exactly this type, or null.
    [[nodiscard]] CbSmartPointer<ZeARTTIAttribute> GetAttribute(const CbRTTI& type) const;
    template<class T>
    [[nodiscard]] CbSmartPointer<T> GetAttribute() const
    {
        return CbStaticPointerCast<T>(GetAttribute(T::RTTI));
    }
    /// Returns the types held, in order.
    [[nodiscard]] TypeList GetTypes() const;

    /// Number of attributes, and whether there are none.
    [[nodiscard]] std::size_t size() const noexcept { return list().size(); }
    [[nodiscard]] bool IsEmpty() const noexcept { return list().empty(); }
    /// Iteration over the smart pointers. Lifetime: until the container is changed.
    [[nodiscard]] Attributes::const_iterator begin() const noexcept { return list().begin(); }
    [[nodiscard]] Attributes::const_iterator end() const noexcept { return list().end(); }

    /// Puts an attribute in. One of the same type is replaced and the new one has its place; null
    /// is ignored.
    void SetAttribute(CbSmartPointer<ZeARTTIAttribute> attribute);
    /// Puts all attributes of another container in, sharing them; other types stay.
    void SetAttributes(const ZeARTTIAttributeContainer& other);
    /// Makes the content a copy of another container's: attributes that can be cloned are cloned,
    /// others are shared.
    void CopyFrom(const ZeARTTIAttributeContainer& other);

    /// Takes the attribute of exactly this type out; nothing happens if there is none.
    void DeleteAttribute(const CbRTTI& type);
    /// Takes all attributes of exactly these types out. Null types are ignored.
    void DeleteAttributes(const TypeList& types);
    /// Takes all attributes out.
    void Clear() noexcept;
    /// Resets each attribute; all stay in the container.
    void ResetAttributes();

    /// Writes all attributes, each with its class name and byte length.
    void Serialize(CbStreamWriteBinary& stream) const;
    /// Replaces the content by what the stream holds. Attributes of unknown classes are skipped.
    /// Throws: CbExceptionWrongFileVersion, CbExceptionStream and what an attribute's reader
    /// throws; the content is as before then.
    void Serialize(CbStreamReadBinary& stream);

private:
    [[nodiscard]] const Attributes& list() const noexcept;
    void replace(Attributes&& attributes);

    std::unique_ptr<Attributes> attributes_; ///< null for none
};
