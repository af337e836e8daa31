#include "transformationtree/attributes/internal/storedsurfelcollection.h"

#include "platform/base/cbcreate.h"
#include "platform/base/cbexceptionstream.h"
#include "platform/base/cystreamwritebinarybuffer.h"

#include <limits>
#include <string>

void WriteSurfelCollection(CbStreamWriteBinary& stream, const CySurfelCollectionBase* collection)
{
    stream << (collection != nullptr);
    if (collection == nullptr) return;
    // The length comes first, so that a reader that does not know the class can pass over it.
    CyStreamWriteBinaryBuffer buffer;
    collection->Serialize(buffer);
    if (buffer.GetCount() > std::numeric_limits<std::uint32_t>::max()) {
        throw CbExceptionStream(CB_HERE, "a surfel collection of " +
                                             std::to_string(buffer.GetCount()) +
                                             " bytes is too large to be stored");
    }
    stream << collection->GetClassNameW() << static_cast<std::uint32_t>(buffer.GetCount());
    stream.WriteBuffer(buffer.GetData(), buffer.GetCount());
}

void ReadSurfelCollection(CbStreamReadBinary& stream,
                          CbSmartPointer<CySurfelCollectionBase>& collection)
{
    bool isPresent = false;
    stream >> isPresent;
    if (!isPresent) return;
    CString className;
    std::uint32_t bytes = 0;
    stream >> className >> bytes;
    collection = CbCreate<CySurfelCollectionBase>(className);
    if (collection) {
        collection->Serialize(stream); // knows its own end
    } else {
        stream.Skip(bytes);
    }
}
