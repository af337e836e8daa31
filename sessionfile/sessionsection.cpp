#include "sessionfile/sessionsection.h"

#include "platform/base/cbexceptionwrongfileversion.h"
#include "sessionfile/sessionerror.h"

#include <utility>

namespace sessionfile
{

SessionSection::SessionSection(std::string name, std::span<const std::uint8_t> bytes,
                               std::size_t offset)
    : name_(std::move(name)), bytes_(bytes), offset_(offset), stream_(bytes)
{}

std::size_t SessionSection::GetOffset() const noexcept
{
    return offset_ + bytes_.size() - stream_.Remaining();
}

CyStreamReadBinaryBuffer SessionSection::Peek() const noexcept
{
    return CyStreamReadBinaryBuffer(bytes_.last(stream_.Remaining()));
}

void SessionSection::RequireEnd()
{
    record_ = 0;
    const std::size_t left = stream_.Remaining();
    if (left != 0) Refuse(std::to_string(left) + " bytes behind the last record");
}

void SessionSection::Refuse(const std::string& text) const
{
    throw SessionError(SessionError::EKind::Inconsistent, place() + text);
}

void SessionSection::RefuseToRead(const std::string& text) const
{
    throw SessionError(SessionError::EKind::Unreadable, place() + text);
}

void SessionSection::rethrow(const CbException& error) const
{
    if (dynamic_cast<const CbExceptionWrongFileVersion*>(&error) != nullptr) {
        RefuseToRead(error.what());
    }
    Refuse(error.what());
}

std::string SessionSection::place() const
{
    if (record_ == 0) return name_ + ": ";
    return name_ + ", record " + std::to_string(record_) + ", byte " +
           std::to_string(recordOffset_) + ": ";
}

} // namespace sessionfile
