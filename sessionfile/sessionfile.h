#pragma once

#include "sessionfile/loadedsession.h"

#include <filesystem>

namespace sessionfile
{

/// Writes a tree as WriteSession() does to a file, which appears as a whole and once it is on the
/// disk. If anything fails, an older file stays as it was.
/// @param unknown what the load of this very tree gave; {} for a tree that was not loaded. Without
///     it models without surfels are written in the place of those that could not be read.
/// Throws: SessionError for what WriteSession() refuses, std::system_error if the file cannot be
/// written; both name the file.
void SaveSession(const std::filesystem::path& path,
                 const CbSmartPointer<const ZeCTransformationNodeInner>& root,
                 const UnknownRecords& unknown);

/// Reads a session file as ReadSession() does.
/// Throws: SessionError naming the file; nothing is left behind. The memory taken is at most four
/// times the size of the file, next to none if that does not begin as a session.
[[nodiscard]] LoadedSession LoadSession(const std::filesystem::path& path);

} // namespace sessionfile
