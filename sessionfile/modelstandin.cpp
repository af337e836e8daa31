#include "sessionfile/modelstandin.h"

#include "platform/base/cbexceptionstream.h"
#include "platform/base/cystreamreadbinarybuffer.h"
#include "platform/base/cystreamwritebinarybuffer.h"
#include "platform/datacontainer/models/zecmodelserializationidmapper.h"

namespace sessionfile
{

namespace
{

using Model = CbSmartPointer<const ZeCModelQMT>;

// The record of a model, as docs/formats/models.md has it.
constexpr std::uint32_t c_version = 1;
constexpr std::uint32_t c_noCollection = 0;

Model map(const CyUniqueID& id, const CString& description, std::uint64_t number)
{
    CyStreamWriteBinaryBuffer record;
    record << ZeCModelQMT::RTTI.GetName();
    record.WriteVersion(c_version);
    id.Serialize(record);
    record << description << number << c_noCollection << c_noCollection;
    CyStreamReadBinaryBuffer stream(record);
    return CbSingleton<ZeCModelSerializationIDMapper>::GetInstance().ReadModel(stream);
}

} // namespace

bool IsOfUnknownClass(std::span<const std::uint8_t> stored)
{
    CString className;
    CyStreamReadBinaryBuffer(stored) >> className;
    return CbRTTI::Find(className) == nullptr;
}

Model MapStandIn(std::span<const std::uint8_t> stored)
{
    CyStreamReadBinaryBuffer stream(stored);
    CString className;
    CyUniqueID id;
    CString description;
    std::uint64_t number = 0;
    try {
        stream >> className;
        if (stream.ReadAndCompareVersion(c_version) != c_version) return nullptr;
        id.Serialize(stream);
        stream >> description >> number;
    } catch (const CbExceptionStream&) { // a layout of its own
        return nullptr;
    }
    return id.IsNil() ? nullptr : map(id, description, number);
}

Model MapStandIn(const CyUniqueID& id) { return map(id, CString(), 0); }

} // namespace sessionfile
