#pragma once

#include "platform/base/cbexception.h"
#include "platform/base/cystreamreadbinarybuffer.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace sessionfile
{

/// The bytes of a session, or of one of its sections, as they are read record by record. Knows
/// where it is, so that it can say where something is wrong.
class SessionSection
{
public:
    /// @param name what messages call the section
    /// @param offset where the bytes begin in the file
    SessionSection(std::string name, std::span<const std::uint8_t> bytes, std::size_t offset);

    [[nodiscard]] CyStreamReadBinaryBuffer& GetStream() noexcept { return stream_; }
    /// All bytes, those that were read too.
    [[nodiscard]] std::span<const std::uint8_t> GetBytes() const noexcept { return bytes_; }
    /// Number of bytes.
    [[nodiscard]] std::size_t GetSize() const noexcept { return bytes_.size(); }
    /// Where the next byte stands in the file.
    [[nodiscard]] std::size_t GetOffset() const noexcept;
    /// The bytes left, as a stream of their own: to look ahead.
    [[nodiscard]] CyStreamReadBinaryBuffer Peek() const noexcept;

    /// Calls @p read, which takes the next record off the stream.
    /// Throws: SessionError for each CbException of it, which names the record and its place.
    template<class Read>
    void ReadRecord(const Read& read)
    {
        ++record_;
        recordOffset_ = GetOffset();
        try {
            read();
        } catch (const CbException& error) {
            rethrow(error);
        }
    }
    /// Throws: SessionError if bytes are left.
    void RequireEnd();

    /// Throws a SessionError of an inconsistent session, which names section and record.
    [[noreturn]] void Refuse(const std::string& text) const;
    /// Throws a SessionError of an unreadable session.
    [[noreturn]] void RefuseToRead(const std::string& text) const;

private:
    [[noreturn]] void rethrow(const CbException& error) const;
    [[nodiscard]] std::string place() const;

    std::string name_;
    std::span<const std::uint8_t> bytes_;
    std::size_t offset_;
    CyStreamReadBinaryBuffer stream_;
    std::size_t record_ = 0; ///< the present one, from 1 on; 0 for none
    std::size_t recordOffset_ = 0;
};

} // namespace sessionfile
