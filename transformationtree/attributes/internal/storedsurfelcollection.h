#pragma once

#include "platform/base/cbsmartpointer.h"
#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "platform/datatree/cysurfelcollectionbase.h"

/// Writes a collection with its class name and length, or that there is none.
/// Throws: CbExceptionStream for more bytes than 32 bits can count, and what the collection's
/// writer throws.
void WriteSurfelCollection(CbStreamWriteBinary& stream, const CySurfelCollectionBase* collection);

/// Reads what was written into @p collection.
/// - If there was none, @p collection stays as it is.
/// - Of a class that is not known it becomes null.
///
/// Throws: CbExceptionStream, and what the collection's reader throws. @p collection may be half
/// read then, and is to be released outside of locks.
void ReadSurfelCollection(CbStreamReadBinary& stream,
                          CbSmartPointer<CySurfelCollectionBase>& collection);
