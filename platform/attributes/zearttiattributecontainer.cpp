#include "platform/attributes/zearttiattributecontainer.h"

#include "platform/base/cbcreate.h"
#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbimmortal.h"
#include "platform/base/cystreamreadbinarybuffer.h"
#include "platform/base/cystreamwritebinarybuffer.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace
{

constexpr std::uint32_t c_version = 1;

using Attributes = ZeARTTIAttributeContainer::Attributes;

auto find(const Attributes& attributes, const CbRTTI& type)
{
    return std::find_if(attributes.begin(), attributes.end(),
                        [&](const auto& attribute) { return attribute->Is(type); });
}

void put(Attributes& attributes, CbSmartPointer<ZeARTTIAttribute> attribute)
{
    const auto place = find(attributes, attribute->GetRTTI());
    if (place == attributes.end()) {
        attributes.push_back(std::move(attribute));
    } else {
        attributes[static_cast<std::size_t>(place - attributes.begin())] = std::move(attribute);
    }
}

CbSmartPointer<ZeARTTIAttribute> copyOf(const CbSmartPointer<ZeARTTIAttribute>& attribute)
{
    const auto clone = attribute->GetRTTI().getClone();
    if (clone == nullptr) return attribute;
    return CbSmartPointer<ZeARTTIAttribute>(static_cast<ZeARTTIAttribute*>(clone(*attribute)));
}

} // namespace

const ZeARTTIAttributeContainer::Attributes& ZeARTTIAttributeContainer::list() const noexcept
{
    if (attributes_) return *attributes_;
    // Never destroyed: nodes may go after everything else.
    static const CbImmortal<const Attributes> none;
    return *none;
}

// The old attributes go when the container is whole again.
void ZeARTTIAttributeContainer::replace(Attributes&& attributes)
{
    auto replacement =
        attributes.empty() ? nullptr : std::make_unique<Attributes>(std::move(attributes));
    attributes_.swap(replacement);
}

CbSmartPointer<ZeARTTIAttribute> ZeARTTIAttributeContainer::GetAttribute(const CbRTTI& type) const
{
    const auto place = find(list(), type);
    return place != list().end() ? *place : nullptr;
}

ZeARTTIAttributeContainer::TypeList ZeARTTIAttributeContainer::GetTypes() const
{
    TypeList types;
    types.reserve(list().size());
    for (const auto& attribute : list()) types.push_back(&attribute->GetRTTI());
    return types;
}

void ZeARTTIAttributeContainer::SetAttribute(CbSmartPointer<ZeARTTIAttribute> attribute)
{
    if (!attribute) return;
    if (!attributes_) attributes_ = std::make_unique<Attributes>();
    put(*attributes_, std::move(attribute));
}

void ZeARTTIAttributeContainer::SetAttributes(const ZeARTTIAttributeContainer& other)
{
    if (this == &other) return;
    Attributes joined = list();
    for (const auto& attribute : other) put(joined, attribute);
    replace(std::move(joined));
}

void ZeARTTIAttributeContainer::CopyFrom(const ZeARTTIAttributeContainer& other)
{
    if (this == &other) return;
    Attributes copies;
    copies.reserve(other.size());
    for (const auto& attribute : other) copies.push_back(copyOf(attribute));
    replace(std::move(copies));
}

void ZeARTTIAttributeContainer::DeleteAttribute(const CbRTTI& type)
{
    const auto place = find(list(), type);
    if (place == list().end()) return;
    const CbSmartPointer<ZeARTTIAttribute> removed = *place; // goes when the container is whole
    attributes_->erase(place);
}

void ZeARTTIAttributeContainer::DeleteAttributes(const TypeList& types)
{
    for (const CbRTTI* type : types) {
        if (type != nullptr) DeleteAttribute(*type);
    }
}

void ZeARTTIAttributeContainer::Clear() noexcept
{
    std::unique_ptr<Attributes> removed; // goes when the container is whole again
    attributes_.swap(removed);
}

void ZeARTTIAttributeContainer::ResetAttributes()
{
    for (const auto& attribute : list()) attribute->ResetAttribute();
}

void ZeARTTIAttributeContainer::Serialize(CbStreamWriteBinary& stream) const
{
    stream.WriteVersion(c_version);
    stream << static_cast<std::uint32_t>(size());
    CyStreamWriteBinaryBuffer record;
    for (const auto& attribute : list()) {
        record.Empty();
        std::as_const(*attribute).Serialize(record);
        if (record.GetCount() > std::numeric_limits<std::uint32_t>::max()) {
            throw CbExceptionStream(CB_HERE, attribute->GetClassNameW().ToUtf8() + " of " +
                                                 std::to_string(record.GetCount()) +
                                                 " bytes is too large to be stored");
        }
        stream << attribute->GetClassNameW() << static_cast<std::uint32_t>(record.GetCount());
        stream.WriteBuffer(record.GetData(), record.GetCount());
    }
}

void ZeARTTIAttributeContainer::Serialize(CbStreamReadBinary& stream)
{
    stream.ReadKnownVersion(c_version, c_version, __FILE__, __LINE__);
    std::uint32_t count = 0;
    stream >> count;
    Attributes read;
    for (; count > 0; --count) {
        CString className;
        std::uint32_t bytes = 0;
        stream >> className >> bytes;
        CyStreamReadBinaryBuffer record(stream.ReadView(bytes));
        const auto attribute = CbCreate<ZeARTTIAttribute>(className);
        if (!attribute) continue;
        attribute->Serialize(record);
        put(read, attribute);
    }
    replace(std::move(read));
}
