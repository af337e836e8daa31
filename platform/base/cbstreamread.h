#pragma once

#include "platform/base/platformapi.h"

#include <cstdint>
#include <string_view>

/// Base of the streams that records are read from.
class PLATFORM_API CbStreamRead
{
public:
    CbStreamRead(const CbStreamRead&) = delete;
    CbStreamRead& operator=(const CbStreamRead&) = delete;
    virtual ~CbStreamRead();

    /// Reads the version of a record where any version will do.
    /// Throws: CbExceptionStream where the stream ends.
    std::uint32_t ReadAndCompareVersion(std::uint32_t current);
    /// Reads the version of a record and refuses one newer than @p current. Older versions are the
    /// caller's to tell apart.
    /// Throws: CbExceptionWrongFileVersion with @p file and @p line for a newer one;
    /// CbExceptionStream where the stream ends.
    [[nodiscard]] std::uint32_t ReadAndCompareVersion(std::uint32_t current, std::string_view file,
                                                      unsigned line);
    /// Reads the version of a record that has known no other one than @p current.
    /// Throws: CbExceptionWrongFileVersion with @p file and @p line for any other;
    /// CbExceptionStream where the stream ends.
    void ReadVersion(std::uint32_t current, std::string_view file, unsigned line);
    /// Reads the version of a record that has known all from @p oldest to @p current.
    /// Throws: as the other for any else.
    [[nodiscard]] std::uint32_t ReadVersion(std::uint32_t oldest, std::uint32_t current,
                                            std::string_view file, unsigned line);

protected:
    CbStreamRead() = default;

    /// Reads a version. Throws: CbExceptionStream where the stream ends.
    [[nodiscard]] virtual std::uint32_t readVersion() = 0;
};
