#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <system_error>

namespace sessionfile
{

struct OpenPart;

/// A new file `<name>.<id>.part` beside the file that it is to replace.
///
/// While it is there its process holds it: by a lock on the open file, on Windows by having it
/// open. So a part that was left behind, by a process that was killed, can be told from one that is
/// being written, also by another process.
class PartFile
{
public:
    PartFile() noexcept;
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;
    /// Removes the file if it is still there.
    ~PartFile();

    /// Removes the parts of @p goal that nobody holds, and makes a new one with the permissions of
    /// an older file at the goal. Once for each object; the others need it.
    [[nodiscard]] std::error_code Create(const std::filesystem::path& goal);
    [[nodiscard]] std::error_code Write(const void* data, std::size_t bytes);
    /// Puts the file in the place of the goal, once its bytes are on the disk.
    [[nodiscard]] std::error_code Replace(const std::filesystem::path& goal);

private:
    /// Closes and removes it.
    struct Forget
    {
        void operator()(OpenPart* part) const noexcept;
    };

    std::unique_ptr<OpenPart, Forget> part_; ///< null if nothing was created, or it was renamed
};

/// Removes all part files of this process. For handlers of signals that end it: async-signal-safe;
/// what was being written can't be put in its place any more.
void RemovePartFiles() noexcept;

} // namespace sessionfile
