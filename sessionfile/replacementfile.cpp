#include "sessionfile/replacementfile.h"

#include <algorithm>
#include <string>
#include <utility>

namespace sessionfile
{

ReplacementFile::ReplacementFile(const std::filesystem::path& path) : path_(path)
{
    std::error_code error;
    auto goal = std::filesystem::weakly_canonical(path, error);
    require(error);
    if (!goal.has_filename()) fail(std::make_error_code(std::errc::no_such_file_or_directory));
    path_ = std::move(goal);
    // Still a link only if it leads nowhere.
    const auto older = std::filesystem::symlink_status(path_, error);
    if (std::filesystem::exists(older) && !std::filesystem::is_regular_file(older)) {
        const bool isFolder = std::filesystem::is_directory(older);
        fail(std::make_error_code(isFolder ? std::errc::is_a_directory : std::errc::file_exists));
    }
    require(part_.Create(path_));
}

ReplacementFile::~ReplacementFile() = default;

void ReplacementFile::Commit()
{
    flush();
    require(part_.Replace(path_));
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
    require(part_.Write(buffer_.data(), count));
}

void ReplacementFile::require(std::error_code error) const
{
    if (error) fail(error);
}

void ReplacementFile::fail(std::error_code reason) const
{
    const std::string name = path_.empty() ? "''" : path_.string();
    throw std::system_error(reason, name + ": cannot be written");
}

} // namespace sessionfile
