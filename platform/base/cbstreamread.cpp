#include "platform/base/cbstreamread.h"

#include "platform/base/cbexceptionwrongfileversion.h"

#include <string>

CbStreamRead::~CbStreamRead() = default;

std::uint32_t CbStreamRead::ReadAndCompareVersion(std::uint32_t /*current*/)
{
    return readVersion();
}

std::uint32_t CbStreamRead::ReadAndCompareVersion(std::uint32_t current, std::string_view file,
                                                  unsigned line)
{
    return ReadKnownVersion(0, current, file, line);
}

std::uint32_t CbStreamRead::ReadKnownVersion(std::uint32_t oldest, std::uint32_t current,
                                             std::string_view file, unsigned line)
{
    const std::uint32_t stored = readVersion();
    if (stored >= oldest && stored <= current) return stored;
    throw CbExceptionWrongFileVersion(file, line, {},
                                      "stored version " + std::to_string(stored) +
                                          ", known versions " + std::to_string(oldest) + " to " +
                                          std::to_string(current));
}
