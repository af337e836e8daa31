#include "examples/session/replacementfile.h"

#include "examples/session/sessionerror.h"

#include <algorithm>
#include <system_error>
#include <utility>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace sessionfile
{

namespace
{

std::FILE* openFile(const std::filesystem::path& path)
{
#ifdef _WIN32
    return _wfopen(path.c_str(), L"wb");
#else
    return std::fopen(path.c_str(), "wb");
#endif
}

/// Sees to it that the bytes are on the disk.
bool syncFile(std::FILE* file)
{
#ifdef _WIN32
    return _commit(_fileno(file)) == 0; // flushes the system's buffers for the file
#else
    return fsync(fileno(file)) == 0;
#endif
}

} // namespace

ReplacementFile::ReplacementFile(std::filesystem::path path) : path_(std::move(path)), part_(path_)
{
    part_ += ".part";
    file_ = openFile(part_);
    if (file_ == nullptr) fail();
}

ReplacementFile::~ReplacementFile()
{
    if (file_ == nullptr) return;
    std::fclose(file_);
    std::error_code ignored;
    std::filesystem::remove(part_, ignored);
}

void ReplacementFile::Commit()
{
    flush();
    if (std::fflush(file_) != 0 || !syncFile(file_)) fail();
    // Closed first: an open file can't be renamed on every system.
    const bool isClosed = std::fclose(std::exchange(file_, nullptr)) == 0;
    std::error_code error;
    if (isClosed) std::filesystem::rename(part_, path_, error);
    if (isClosed && !error) return;
    std::filesystem::remove(part_, error);
    fail();
}

void ReplacementFile::makeRoom(std::size_t bytes)
{
    constexpr std::size_t c_leastRoom = std::size_t{1} << 16;
    flush();
    if (bytes > room_) {
        room_ = std::max(bytes, c_leastRoom);
        buffer_ = std::make_unique_for_overwrite<std::uint8_t[]>(room_);
    }
    position_ = buffer_.get();
    end_ = position_ + room_;
}

void ReplacementFile::flush()
{
    const auto count = static_cast<std::size_t>(position_ - buffer_.get());
    position_ = buffer_.get();
    if (std::fwrite(buffer_.get(), 1, count, file_) != count) fail();
}

void ReplacementFile::fail() const
{
    throw SessionError(SessionError::EKind::Unwritable, path_.string() + ": cannot be written");
}

} // namespace sessionfile
