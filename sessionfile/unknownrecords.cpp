#include "sessionfile/unknownrecords.h"

#include "platform/attributes/zearttiattribute.h"
#include "platform/base/cbrtti.h"
#include "platform/base/cystreamreadbinarybuffer.h"
#include "platform/base/cystreamwritebinarybuffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace sessionfile
{

namespace
{

using Bytes = std::span<const std::uint8_t>;

/// An attribute as it stands in a container.
struct Record
{
    CString className;
    std::size_t bytes; ///< of what the class wrote
    Bytes whole;       ///< name and length in front of that
};

/// Takes the first record off.
Record takeRecord(Bytes& records)
{
    CyStreamReadBinaryBuffer stream(records);
    CString className;
    std::uint32_t bytes = 0;
    stream >> className >> bytes;
    stream.Skip(bytes);
    const Bytes whole = records.first(records.size() - stream.Remaining());
    records = records.subspan(whole.size());
    return {std::move(className), bytes, whole};
}

/// Calls @p visit with each attribute of a stored container, and returns the container's version.
template<class Visit>
std::uint32_t visitContainer(Bytes container, const Visit& visit)
{
    CyStreamReadBinaryBuffer stream(container);
    const std::uint32_t version = stream.ReadAndCompareVersion(1);
    std::uint32_t count = 0;
    stream >> count;
    Bytes records = container.last(stream.Remaining());
    for (std::uint32_t place = 0; place < count; ++place) visit(takeRecord(records), place);
    return version;
}

/// Calls @p visit with each attribute kept for a node.
template<class Visit>
void visitKept(Bytes kept, const Visit& visit)
{
    while (!kept.empty()) {
        std::uint32_t place = 0;
        std::memcpy(&place, kept.data(), sizeof place);
        kept = kept.subspan(sizeof place);
        visit(takeRecord(kept), place);
    }
}

/// Whether a container makes an attribute of that name.
bool isMade(const CString& className)
{
    const CbRTTI* const type = CbRTTI::Find(className);
    return type != nullptr && type->getCreate() != nullptr &&
           type->IsKindOf(ZeARTTIAttribute::RTTI);
}

CString classNameOf(Bytes model)
{
    CString className;
    CyStreamReadBinaryBuffer(model) >> className;
    return className;
}

} // namespace

std::size_t UnknownRecords::CountAttributes() const
{
    std::size_t count = 0;
    for (const auto& [node, kept] : attributes_) {
        visitKept(kept, [&](const Record&, std::uint32_t) { ++count; });
    }
    return count;
}

std::set<std::string> UnknownRecords::GetClassNames() const
{
    std::set<std::string> names;
    for (const auto& [standIn, model] : models_) names.insert(classNameOf(model.bytes).ToUtf8());
    for (const auto& [node, kept] : attributes_) {
        visitKept(kept, [&](const Record& record, std::uint32_t) {
            names.insert(record.className.ToUtf8());
        });
    }
    return names;
}

CString UnknownRecords::GetClassName(const ZeCModelQMT& model) const
{
    const Bytes stored = GetStored(model);
    return stored.empty() ? CString() : classNameOf(stored);
}

std::vector<UnknownRecords::Attribute> UnknownRecords::GetAttributes(const CyUniqueID& node) const
{
    std::vector<Attribute> attributes;
    if (const auto kept = attributes_.find(node); kept != attributes_.end()) {
        visitKept(kept->second, [&](const Record& record, std::uint32_t) {
            attributes.push_back({record.className, record.bytes});
        });
    }
    return attributes;
}

void UnknownRecords::KeepModel(const CbSmartPointer<const ZeCModelQMT>& standIn, Bytes stored)
{
    const auto [model, isNew] = models_.try_emplace(standIn.Get());
    if (isNew) model->second = {standIn, {stored.begin(), stored.end()}};
}

void UnknownRecords::KeepAttributes(const CyUniqueID& node, Bytes container)
{
    // Measured first: records may be short, and a vector that grows takes thrice their size.
    std::size_t size = 0;
    visitContainer(container, [&](const Record& record, std::uint32_t place) {
        if (!isMade(record.className)) size += sizeof place + record.whole.size();
    });
    if (size == 0) return;
    std::vector<std::uint8_t> kept;
    kept.reserve(size);
    visitContainer(container, [&](const Record& record, std::uint32_t place) {
        if (isMade(record.className)) return;
        kept.resize(kept.size() + sizeof place);
        std::memcpy(kept.data() + kept.size() - sizeof place, &place, sizeof place);
        kept.insert(kept.end(), record.whole.begin(), record.whole.end());
    });
    attributes_[node] = std::move(kept);
}

Bytes UnknownRecords::GetStored(const ZeCModelQMT& model) const
{
    const auto stored = models_.find(&model);
    return stored != models_.end() ? Bytes(stored->second.bytes) : Bytes();
}

bool UnknownRecords::HasAttributes(const ZeCTransformationNode& node) const
{
    return !node.GetAllAttributes().IsEmpty() || attributes_.contains(node.GetID());
}

void UnknownRecords::WriteAttributes(CbStreamWriteBinary& stream,
                                     const ZeCTransformationNode& node) const
{
    const auto kept = attributes_.find(node.GetID());
    if (kept == attributes_.end()) {
        node.SerializeAttributes(stream);
        return;
    }
    CyStreamWriteBinaryBuffer own;
    node.SerializeAttributes(own);
    std::vector<Record> known;
    const std::uint32_t version =
        visitContainer(own.GetBytes(),
                       [&](Record&& record, std::uint32_t) { known.push_back(std::move(record)); });

    std::vector<Bytes> joined;
    std::size_t next = 0; // known ones
    visitKept(kept->second, [&](const Record& record, std::uint32_t place) {
        const bool isReplaced = std::any_of(known.begin(), known.end(), [&](const Record& other) {
            return other.className == record.className;
        });
        if (isReplaced) return;
        while (joined.size() < place && next < known.size()) joined.push_back(known[next++].whole);
        joined.push_back(record.whole);
    });
    while (next < known.size()) joined.push_back(known[next++].whole);

    stream.WriteVersion(version);
    stream << static_cast<std::uint32_t>(joined.size());
    for (const Bytes record : joined) stream.WriteBuffer(record.data(), record.size());
}

} // namespace sessionfile
