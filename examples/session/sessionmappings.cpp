#include "examples/session/sessionmappings.h"

#include "platform/datacontainer/zecmodelserializationidmapper.h"
#include "transformationtree/zectransformationnodeserializationidmapper.h"

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
