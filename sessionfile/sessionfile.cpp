#include "sessionfile/sessionfile.h"

#include "sessionfile/replacementfile.h"
#include "sessionfile/sessionerror.h"
#include "sessionfile/sessionformat.h"
#include "sessionfile/sessionreader.h"
#include "sessionfile/sessionwriter.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <memory>
#include <new>
#include <string>
#include <system_error>

namespace sessionfile
{

namespace
{

[[noreturn]] void refuse(const char* text)
{
    throw SessionError(SessionError::EKind::Unreadable, text);
}

/// Does something with a file, whose name the errors get.
template<class Action>
auto onFile(const std::filesystem::path& path, const Action& action)
{
    try {
        return action();
    } catch (const SessionError& error) {
        const std::string name = path.empty() ? "''" : path.string();
        throw SessionError(error.GetKind(), name + ": " + error.what());
    }
}

LoadedSession load(const std::filesystem::path& path)
{
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) refuse("no such file");
    if (!std::filesystem::is_regular_file(status)) refuse("is no regular file");
    std::ifstream file(path, std::ios::binary);
    const auto size = static_cast<std::size_t>(std::filesystem::file_size(path, error));
    if (!file || error) refuse("cannot be opened for reading");

    const auto read = [&](std::span<std::uint8_t> bytes) {
        file.seekg(0);
        file.read(reinterpret_cast<char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
        if (!file) refuse("cannot be read to its end");
    };
    // What is no session takes no memory, however large it is.
    std::array<std::uint8_t, c_headerBytes> header{};
    const auto begin = std::span(header).first(std::min(size, header.size()));
    read(begin);
    RequireHeader(begin);
    const auto bytes = std::make_unique_for_overwrite<std::uint8_t[]>(size);
    read({bytes.get(), size});
    return ReadSession({bytes.get(), size});
}

} // namespace

void SaveSession(const std::filesystem::path& path,
                 const CbSmartPointer<const ZeCTransformationNodeInner>& root,
                 const UnknownRecords& unknown)
{
    onFile(path, [&] {
        ReplacementFile file(path);
        WriteSession(file, root, unknown);
        file.Commit();
    });
}

LoadedSession LoadSession(const std::filesystem::path& path)
{
    return onFile(path, [&] {
        try {
            return load(path);
        } catch (const std::bad_alloc&) {
            refuse("too large for the memory");
        }
    });
}

} // namespace sessionfile
