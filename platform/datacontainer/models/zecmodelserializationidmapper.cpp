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
    CyUniqueID id;
    id.Serialize(stream);
    return GetModel(id);
}

ZeCModelSerializationIDMapper::Model
ZeCModelSerializationIDMapper::GetModel(const CyUniqueID& id) const
{
    const Model* const model = models_.Find(id);
    return model != nullptr ? *model : nullptr;
}

void ZeCModelSerializationIDMapper::WriteModel(CbStreamWriteBinary& stream, const Model& model)
{
    if (!model) throw CbException(CB_HERE, "there is no model to write");
    stream << model->GetRTTI().GetName();
    model->Serialize(stream);
    models_.Set(model->GetID(), model);
}

ZeCModelSerializationIDMapper::Model
ZeCModelSerializationIDMapper::ReadModel(CbStreamReadBinary& stream)
{
    CString className;
    stream >> className;
    const auto model = CbCreate<ZeCModelQMT>(className);
    if (!model) throw CbException(CB_HERE, "no class of models: " + className.ToUtf8());
    model->Serialize(stream);
    models_.Set(model->GetID(), model);
    return model;
}

void ZeCModelSerializationIDMapper::ListMappedModelIDs(CbArray<CyUniqueID>& ids) const
{
    const CbCriticalSectionLock lock(section_);
    ids.Reserve(ids.GetCount() + models_.GetCount());
    for (const auto& [id, model] : models_) ids.Append(id);
}

void ZeCModelSerializationIDMapper::ClearMapping()
{
    decltype(models_) cleared; // goes after the section is left
    const CbCriticalSectionLock lock(section_);
    models_.Swap(cleared);
}
