#include "platform/datacontainer/models/zecmodelserializationidmapper.h"

#include "platform/base/cbcreate.h"
#include "platform/base/cbexception.h"

template class CbSingleton<ZeCModelSerializationIDMapper>;

ZeCModelSerializationIDMapper::ZeCModelSerializationIDMapper() = default;

ZeCModelSerializationIDMapper::~ZeCModelSerializationIDMapper() = default;

void ZeCModelSerializationIDMapper::WriteModelByReference(CbStreamWriteBinary& stream,
                                                          const Model& model) const
{
    (model ? model->GetID() : CyUniqueID()).Serialize(stream);
}

ZeCModelSerializationIDMapper::Model
ZeCModelSerializationIDMapper::ReadModelByReference(CbStreamReadBinary& stream) const
{
    return readReference(stream);
}

ZeCModelSerializationIDMapper::Model
ZeCModelSerializationIDMapper::GetModel(const CyUniqueID& id) const
{
    return find(id);
}

void ZeCModelSerializationIDMapper::WriteModel(CbStreamWriteBinary& stream, const Model& model)
{
    if (!model) throw CbException(CB_HERE, "there is no model to write");
    stream << model->GetRTTI().GetName();
    model->Serialize(stream);
    map(model->GetID(), model);
}

ZeCModelSerializationIDMapper::Model
ZeCModelSerializationIDMapper::ReadModel(CbStreamReadBinary& stream)
{
    CString className;
    stream >> className;
    const auto model = CbCreate<ZeCModelQMT>(className);
    if (!model) throw CbException(CB_HERE, "no class of models: " + className.ToUtf8());
    model->Serialize(stream);
    map(model->GetID(), model);
    return model;
}
