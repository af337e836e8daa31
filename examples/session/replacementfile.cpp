#include "examples/session/replacementfile.h"

#include "platform/base/cyuniqueid.h"

#include <algorithm>
#include <cerrno>
#include <string>
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

/// Null where there is a file, or a link, of the name.
std::FILE* openNewFile(const std::filesystem::path& path)
{
#ifdef _WIN32
    return _wfopen(path.c_str(), L"wbx");
#else
    return std::fopen(path.c_str(), "wbx");
#endif
}

std::error_code lastError() { return {errno, std::generic_category()}; }

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

ReplacementFile::ReplacementFile(const std::filesystem::path& path) : path_(path)
{
    std::error_code error;
    auto goal = std::filesystem::weakly_canonical(path, error);
    if (error) fail(error);
    if (!goal.has_filename()) fail(std::make_error_code(std::errc::no_such_file_or_directory));
    path_ = part_ = std::move(goal);
    // Still a link only where it leads nowhere.
    const auto older = std::filesystem::symlink_status(path_, error);
    const bool isReplaced = std::filesystem::exists(older);
    if (isReplaced && !std::filesystem::is_regular_file(older)) {
        const bool isFolder = std::filesystem::is_directory(older);
        fail(std::make_error_code(isFolder ? std::errc::is_a_directory : std::errc::file_exists));
    }
    CyUniqueID id;
    id.Renew();
    part_ += "." + id.ToString().ToUtf8() + ".part";
    file_ = openNewFile(part_);
    if (file_ == nullptr) fail(lastError());
    std::setvbuf(file_, nullptr, _IONBF, 0);
    if (isReplaced) std::filesystem::permissions(part_, older.permissions(), error);
}

ReplacementFile::~ReplacementFile()
{
    if (file_ != nullptr) std::fclose(file_);
    std::error_code ignored;
    std::filesystem::remove(part_, ignored); // not there any more after Commit()
}

void ReplacementFile::Commit()
{
    flush();
    if (!syncFile(file_)) fail(lastError());
    // Closed first: an open file can't be renamed on every system.
    if (std::fclose(std::exchange(file_, nullptr)) != 0) fail(lastError());
    std::error_code error;
    std::filesystem::rename(part_, path_, error);
    if (error) fail(error);
}

void ReplacementFile::makeRoom(std::size_t bytes)
{
    constexpr std::size_t c_leastRoom = std::size_t{1} << 16;
    flush();
    if (bytes > buffer_.size()) buffer_.resize(std::max(bytes, c_leastRoom));
    position_ = buffer_.data();
    end_ = position_ + buffer_.size();
}

void ReplacementFile::flush()
{
    const auto count = static_cast<std::size_t>(position_ - buffer_.data());
    position_ = buffer_.data();
    if (std::fwrite(buffer_.data(), 1, count, file_) != count) fail(lastError());
}

void ReplacementFile::fail(std::error_code reason) const
{
    const std::string name = path_.empty() ? "''" : path_.string();
    throw std::system_error(reason, name + ": cannot be written");
}

} // namespace sessionfile
