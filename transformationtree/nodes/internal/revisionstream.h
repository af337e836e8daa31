#pragma once

#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "transformationtree/nodes/zetnoderevision.h"

#include <cstdint>

// Streams know types of a given size, which long long is not one of everywhere.

/// Writes a revision in 64 bits.
inline void WriteRevision(CbStreamWriteBinary& stream, ZeTNodeRevision revision)
{
    stream << std::int64_t{revision};
}

/// Reads a revision. Throws: CbExceptionStream; @p revision stays as it was.
inline void ReadRevision(CbStreamReadBinary& stream, ZeTNodeRevision& revision)
{
    std::int64_t stored = 0;
    stream >> stored;
    revision = stored;
}
