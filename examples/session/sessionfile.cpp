#include "examples/session/sessionfile.h"

#include "examples/session/replacementfile.h"
#include "examples/session/sessionerror.h"
#include "examples/session/sessionreader.h"
#include "examples/session/sessionwriter.h"

#include <fstream>
#include <memory>
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

CbSmartPointer<ZeCTransformationNodeInner> load(const std::filesystem::path& path)
{
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) refuse("no such file");
    if (!std::filesystem::is_regular_file(status)) refuse("is no file");
    std::ifstream file(path, std::ios::binary);
    const auto size = static_cast<std::size_t>(std::filesystem::file_size(path, error));
    if (!file || error) refuse("cannot be opened for reading");
    const auto bytes = std::make_unique_for_overwrite<std::uint8_t[]>(size);
    file.read(reinterpret_cast<char*>(bytes.get()), static_cast<std::streamsize>(size));
    if (static_cast<std::size_t>(file.gcount()) != size) refuse("cannot be read to its end");
    return ReadSession({bytes.get(), size});
}

} // namespace

void SaveSession(const std::filesystem::path& path,
                 const CbSmartPointer<const ZeCTransformationNodeInner>& root)
{
    ReplacementFile file(path);
    WriteSession(file, root);
    file.Commit();
}

CbSmartPointer<ZeCTransformationNodeInner> LoadSession(const std::filesystem::path& path)
{
    try {
        return load(path);
    } catch (const SessionError& error) {
        throw SessionError(error.GetKind(), path.string() + ": " + error.what());
    }
}

} // namespace sessionfile
