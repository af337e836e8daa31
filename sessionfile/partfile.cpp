#include "sessionfile/partfile.h"

#include "platform/base/cyuniqueid.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <utility>

#ifdef _WIN32
#define NOMINMAX
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace sessionfile
{

/// What there is of a part.
struct OpenPart
{
    explicit OpenPart(const std::filesystem::path& goal);
    /// False if the system reports an error.
    bool Close() noexcept;

    std::filesystem::path path;
    std::atomic<std::FILE*> file = nullptr; ///< unbuffered; null if it is not open
    bool isListed;                          ///< among those that a signal removes
    bool isMade = false;                    ///< it is there, unless it was removed or renamed
};

namespace
{

namespace fs = std::filesystem;

std::error_code lastError() { return {errno, std::generic_category()}; }

#ifdef _WIN32

constexpr bool c_renamesOpenFiles = false;

/// Null if there is a file, or a link, of the name.
std::FILE* createFile(const fs::path& path) { return _wfopen(path.c_str(), L"wbxN"); }

/// An open file can't be removed by others: that is lock enough.
bool hold(std::FILE* /*file*/) { return true; }

bool sync(std::FILE* file) { return _commit(_fileno(file)) == 0; }

/// Fails if a process has the file open.
void removeUnheld(const fs::path& path) { DeleteFileW(path.c_str()); }

/// From a thread of its own, as signals come. What the file's thread writes then fails.
void removeHeld(const fs::path& path, std::FILE* file) noexcept
{
    if (file != nullptr) CloseHandle(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file))));
    DeleteFileW(path.c_str());
}

#else

constexpr bool c_renamesOpenFiles = true;

/// Null if there is a file, or a link, of the name. Children of the process don't inherit it.
std::FILE* createFile(const fs::path& path) { return std::fopen(path.c_str(), "wbxe"); }

/// False if the file was removed in the moment before it was locked. A file system that has no
/// locks does not refuse the file: nobody can lock it then to remove it.
bool hold(std::FILE* file)
{
    while (flock(fileno(file), LOCK_EX) != 0 && errno == EINTR) {
    }
    struct stat status
    {};
    return fstat(fileno(file), &status) != 0 || status.st_nlink > 0;
}

bool sync(std::FILE* file) { return fsync(fileno(file)) == 0; }

void removeUnheld(const fs::path& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (file < 0) return;
    if (flock(file, LOCK_EX | LOCK_NB) == 0) unlink(path.c_str());
    close(file);
}

void removeHeld(const fs::path& path, std::FILE* /*file*/) noexcept { unlink(path.c_str()); }

#endif

/// Whether a file has the name of a part of @p goal.
bool isPartOf(const fs::path& goal, const fs::path& file)
{
    const fs::path rest = file.stem(); // a part is `<goal>.<id>.part`
    const auto id = rest.extension().native();
    const bool isID = std::all_of(id.begin(), id.end(), [](auto c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || c == '-' || c == '.';
    });
    return isID && id.size() == 1 + CyUniqueID().ToString().GetView().size() &&
           file.extension() == ".part" && rest.stem() == goal.filename();
}

/// What can't be removed is left for the next time.
void removeLeftParts(const fs::path& goal)
{
    std::error_code error;
    const fs::path folder = goal.has_parent_path() ? goal.parent_path() : ".";
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        std::error_code ignored;
        const bool isFile = it->symlink_status(ignored).type() == fs::file_type::regular;
        if (isFile && isPartOf(goal, it->path())) removeUnheld(it->path());
    }
}

/// The parts that a signal removes. There are hardly ever more than two; what finds no place here
/// is left behind then, and the next save removes it.
std::array<std::atomic<const OpenPart*>, 16> s_listed{};
static_assert(std::atomic<const OpenPart*>::is_always_lock_free, "a signal's handler takes them");

bool list(const OpenPart* part) noexcept
{
    return std::any_of(s_listed.begin(), s_listed.end(), [&](auto& place) {
        const OpenPart* none = nullptr;
        return place.compare_exchange_strong(none, part);
    });
}

/// False if a signal's handler has it.
bool unlist(const OpenPart* part) noexcept
{
    return std::any_of(s_listed.begin(), s_listed.end(), [&](auto& place) {
        const OpenPart* own = part;
        return place.compare_exchange_strong(own, nullptr);
    });
}

} // namespace

OpenPart::OpenPart(const fs::path& goal) : path(goal)
{
    CyUniqueID id;
    id.Renew();
    path += "." + id.ToString().ToUtf8() + ".part";
    isListed = list(this); // before it is there
}

bool OpenPart::Close() noexcept
{
    std::FILE* const open = file.exchange(nullptr);
    return open == nullptr || std::fclose(open) == 0;
}

void PartFile::Forget::operator()(OpenPart* part) const noexcept
{
    part->Close();
    std::error_code ignored;
    if (part->isMade) fs::remove(part->path, ignored); // not there if it is in its place
    const bool isTaken = part->isListed && !unlist(part);
    if (!isTaken) delete part; // or else the process is about to end
}

PartFile::PartFile() noexcept = default;

PartFile::~PartFile() = default;

std::error_code PartFile::Create(const fs::path& goal)
{
    removeLeftParts(goal);
    do {
        part_.reset(new OpenPart(goal));
        part_->file = createFile(part_->path);
        part_->isMade = part_->file != nullptr;
        // A process that was forked goes on with the same ids as its parent.
        if (!part_->isMade && errno != EEXIST) return lastError();
    } while (!part_->isMade || !hold(part_->file));
    std::setvbuf(part_->file, nullptr, _IONBF, 0);
    std::error_code ignored;
    const auto older = fs::status(goal, ignored);
    if (fs::exists(older)) fs::permissions(part_->path, older.permissions(), ignored);
    return {};
}

std::error_code PartFile::Write(const void* data, std::size_t bytes)
{
    return std::fwrite(data, 1, bytes, part_->file) == bytes ? std::error_code() : lastError();
}

std::error_code PartFile::Replace(const fs::path& goal)
{
    if (!sync(part_->file)) return lastError();
    // Elsewhere it is held until it has its new name, so that nobody takes it for one left behind.
    if (!c_renamesOpenFiles && !part_->Close()) return lastError();
    std::error_code error;
    fs::rename(part_->path, goal, error);
    if (error) return error;
    part_->isMade = false; // under this name
    part_.reset();
    return {};
}

void RemovePartFiles() noexcept
{
    for (auto& place : s_listed) {
        if (const OpenPart* const part = place.exchange(nullptr)) {
            removeHeld(part->path, part->file);
        }
    }
}

} // namespace sessionfile
