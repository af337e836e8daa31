#pragma once

#include "platform/base/cbstreamwritebinary.h"
#include "sessionfile/partfile.h"

#include <filesystem>
#include <system_error>
#include <vector>

namespace sessionfile
{

/// A file that replaces another one as a whole, or not at all.
///
/// What is written goes to a new file `<name>.<id>.part` beside the goal, which Commit() renames.
/// Without Commit() the destructor removes that file, and the goal stays as it was. If a process
/// is killed the file stays, until the next one for the same goal removes it; a program's handler
/// of a signal can do so as well, see RemovePartFiles(). An older file hands down its permissions;
/// if the goal is a link, the file that it leads to is replaced, and
/// a link that leads nowhere is refused, as is whatever else is no regular file.
class ReplacementFile : public CbStreamWriteBinary
{
public:
    /// Throws, as writing does: std::system_error with the reason, which names the file.
    explicit ReplacementFile(const std::filesystem::path& path);
    ~ReplacementFile() override;

    /// Puts the file in its place once its bytes are on the disk. A power cut right behind that may
    /// bring the older file back.
    /// Throws: std::system_error.
    void Commit();

protected:
    void makeRoom(std::size_t bytes) override;

private:
    void flush();
    void require(std::error_code error) const;
    [[noreturn]] void fail(std::error_code reason) const;

    std::filesystem::path path_;
    PartFile part_;
    std::vector<std::uint8_t> buffer_; ///< position_ and end_ are in it
};

} // namespace sessionfile
