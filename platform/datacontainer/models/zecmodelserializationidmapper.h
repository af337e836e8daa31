#pragma once

#include "platform/base/cbidmapper.h"
#include "platform/base/cbsingleton.h"
#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "platform/base/cyuniqueid.h"
#include "platform/datacontainer/models/zecmodelqmt.h"

/// Writes and reads models: each once as a whole, anywhere else by its id; a singleton.
///
/// What was written or read as a whole is mapped by its id, and lives, until ClearMapping(). An
/// application clears the map after a complete write or read.
///
/// Threads: as of CbIDMapper.
class PLATFORM_API ZeCModelSerializationIDMapper : public CbIDMapper<const ZeCModelQMT>
{
public:
    /// Null if there is none.
    using Model = CbSmartPointer<const ZeCModelQMT>;

    /// Writes the id of a model, the nil id for null. The map stays as it is.
    void WriteModelByReference(CbStreamWriteBinary& stream, const Model& model) const;
    /// Reads an id and returns the model mapped to it, or null.
    [[nodiscard]] Model ReadModelByReference(CbStreamReadBinary& stream) const;
    /// Returns the model mapped to an id, or null.
    [[nodiscard]] Model GetModel(const CyUniqueID& id) const;

    /// Writes the class name and the record of a model and maps it.
    /// Throws: CbException for null.
    void WriteModel(CbStreamWriteBinary& stream, const Model& model);
    /// Reads what WriteModel() wrote and maps the model, in place of one with the same id.
    /// Throws: CbException if the class is no class of models, CbExceptionStream,
    /// CbExceptionWrongFileVersion; nothing is mapped then.
    Model ReadModel(CbStreamReadBinary& stream);

private:
    friend class CbSingleton<ZeCModelSerializationIDMapper>;

    ZeCModelSerializationIDMapper();
    ~ZeCModelSerializationIDMapper();
};

extern template class PLATFORM_API CbSingleton<ZeCModelSerializationIDMapper>;
