#pragma once

#include "platform/base/cbsmartpointer.h"
#include "platform/base/cbstreamwritebinary.h"
#include "sessionfile/unknownrecords.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"

namespace sessionfile
{

/// Writes a whole tree: all nodes with their attributes, and each model that they refer to once.
/// What is unknown is written again for its nodes and in the place of the models that stand there
/// for it.
///
/// Throws: SessionError, before anything is written, for what ReadSession() would refuse: @p root
/// is null or has a father, a node below it is listed by another node than its father, an id is nil
/// or that of two nodes or two models, a class of nodes or models can't be made by its name; what
/// the stream throws. Threads: needs a read handle on the root; one thread at a time writes or
/// reads sessions.
void WriteSession(CbStreamWriteBinary& stream,
                  const CbSmartPointer<const ZeCTransformationNodeInner>& root,
                  const UnknownRecords& unknown);

} // namespace sessionfile
