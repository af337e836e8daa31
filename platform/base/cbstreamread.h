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

    /// Reads the version of a record if any version will do.
    /// Throws: CbExceptionStream if the stream ends.
    std::uint32_t ReadAndCompareVersion(std::uint32_t current);
    /// Reads the version of a record and refuses one newer than @p current. Older versions are the
    /// caller's to tell apart.
    /// Throws: CbExceptionWrongFileVersion with @p file and @p line for a newer one;
    /// CbExceptionStream if the stream ends.
    [[nodiscard]] std::uint32_t ReadAndCompareVersion(std::uint32_t current, std::string_view file,
                                                      unsigned line);
    /// The same, and refuses versions older than @p oldest in the same way.
    std::uint32_t ReadKnownVersion(std::uint32_t oldest, std::uint32_t current,
                                   std::string_view file, unsigned line);

protected:
    CbStreamRead() = default;

    /// Reads a version. Throws: CbExceptionStream if the stream ends.
    [[nodiscard]] virtual std::uint32_t readVersion() = 0;
};
