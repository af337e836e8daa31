#include "sessionfile/sessionmappings.h"

#include "platform/datacontainer/models/zecmodelserializationidmapper.h"
#include "transformationtree/nodes/zectransformationnodeserializationidmapper.h"

namespace sessionfile
{

namespace
{

void clear()
{
    CbSingleton<ZeCTransformationNodeSerializationIDMapper>::GetInstance().ClearMapping();
    CbSingleton<ZeCModelSerializationIDMapper>::GetInstance().ClearMapping();
}

} // namespace

SessionMappings::SessionMappings() { clear(); }

SessionMappings::~SessionMappings() { clear(); }

} // namespace sessionfile
