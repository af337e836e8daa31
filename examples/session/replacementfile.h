#pragma once

#include "platform/base/cbstreamwritebinary.h"

#include <cstdio>
#include <filesystem>
#include <memory>

namespace sessionfile
{

/// A file that replaces another one as a whole, or not at all.
///
/// What is written goes to a file `<name>.part` beside the goal, which Commit() renames. Without
/// Commit() the destructor removes that file, and the goal stays as it was.
class ReplacementFile : public CbStreamWriteBinary
{
public:
    /// Throws, as writing does: SessionError naming the file where it can't be written.
    explicit ReplacementFile(std::filesystem::path path);
    ~ReplacementFile() override;

    /// Puts the file in its place once its bytes are on the disk.
    /// Throws: SessionError naming the file.
    void Commit();

protected:
    void makeRoom(std::size_t bytes) override;

private:
    void flush();
    [[noreturn]] void fail() const;

    std::filesystem::path path_;
    std::filesystem::path part_;
    std::FILE* file_;
    std::unique_ptr<std::uint8_t[]> buffer_; ///< position_ and end_ are in it
    std::size_t room_ = 0;
};

} // namespace sessionfile
