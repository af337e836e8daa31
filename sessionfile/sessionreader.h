#pragma once

#include "sessionfile/loadedsession.h"

#include <cstdint>
#include <span>

namespace sessionfile
{

/// Throws: SessionError if bytes do not begin as a session of a known version.
void RequireHeader(std::span<const std::uint8_t> bytes);

/// Reads what WriteSession() wrote and returns the tree, which is outside any data manager.
///
/// Attributes of classes that are not linked in are kept beside it. So are such models, and models
/// without surfels stand in their place: with the id and the description that are stored, if the
/// record begins as those of models do, or else one for each id in the structure that is of no
/// model, in the order of their sections. Models that no node refers to are passed over. Revisions
/// are those of the file: the counter that new ones come from is not advanced, so they may be
/// smaller.
///
/// The records may stand in any order within their section. All that they say is checked before the
/// tree is given out: it is one tree, and every node that a record names is in it.
///
/// Throws: SessionError; nothing is left behind. The memory taken beside @p bytes, even if they
/// were made to harm, is at most three times their size.
/// Threads: one at a time writes or reads sessions. Cost: linear; recursion-free.
[[nodiscard]] LoadedSession ReadSession(std::span<const std::uint8_t> bytes);

} // namespace sessionfile
