#pragma once

#include "sessionfile/loadedsession.h"

#include <filesystem>

namespace sessionfile
{

/// Writes a tree as WriteSession() does to a file, which appears as a whole and once it is on the
/// disk. Where anything fails, an older file stays as it was.
/// Throws: SessionError for what WriteSession() refuses, std::system_error where the file cannot be
/// written; both name the file.
void SaveSession(const std::filesystem::path& path,
                 const CbSmartPointer<const ZeCTransformationNodeInner>& root,
                 const UnknownRecords& unknown = {});

/// Reads a session file as ReadSession() does.
/// Throws: SessionError naming the file; nothing is left behind. The memory taken is at most four
/// times the size of the file, next to none where that does not begin as a session.
[[nodiscard]] LoadedSession LoadSession(const std::filesystem::path& path);

} // namespace sessionfile
