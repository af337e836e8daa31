#pragma once

#include "platform/base/cbsmartpointer.h"
#include "sessionfile/unknownrecords.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"

namespace sessionfile
{

/// What comes out of a session.
struct LoadedSession
{
    CbSmartPointer<ZeCTransformationNodeInner> root;
    UnknownRecords unknown; ///< what the tree has not, to be handed over when it is saved
};

} // namespace sessionfile
