#pragma once

#include "platform/base/cbsmartpointer.h"
#include "transformationtree/zectransformationnodeinner.h"

#include <cstdint>
#include <span>

namespace sessionfile
{

/// Throws: SessionError where bytes do not begin as a session of a known version.
void RequireHeader(std::span<const std::uint8_t> bytes);

/// Reads what WriteSession() wrote and returns the root of the tree, which is outside any data
/// manager. Attributes of unknown classes, and models that no node refers to, are passed over.
/// Revisions are those of the file: the counter that new ones come from is not advanced, so they
/// may be smaller.
///
/// The records may stand in any order within their section. All that they say is checked before the
/// tree is given out: it is one tree, and every node that a record names is in it.
///
/// Throws: SessionError; nothing is left behind. The memory taken beside @p bytes, also where they
/// were made to harm, is at most three times their size.
/// Threads: one at a time writes or reads sessions. Cost: linear; recursion-free.
[[nodiscard]] CbSmartPointer<ZeCTransformationNodeInner>
ReadSession(std::span<const std::uint8_t> bytes);

} // namespace sessionfile
