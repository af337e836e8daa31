#include "platform/base/cbstreamread.h"

#include "platform/base/cbexceptionwrongfileversion.h"

#include <string>

namespace
{

[[noreturn]] void refuse(std::uint32_t stored, std::uint32_t current, std::string_view file,
                         unsigned line)
{
    throw CbExceptionWrongFileVersion(file, line, {},
                                      "stored version " + std::to_string(stored) +
                                          ", newest known version " + std::to_string(current));
}

} // namespace

CbStreamRead::~CbStreamRead() = default;

std::uint32_t CbStreamRead::ReadAndCompareVersion(std::uint32_t /*current*/)
{
    return readVersion();
}

std::uint32_t CbStreamRead::ReadAndCompareVersion(std::uint32_t current, std::string_view file,
                                                  unsigned line)
{
    return ReadVersion(0, current, file, line);
}

void CbStreamRead::ReadVersion(std::uint32_t current, std::string_view file, unsigned line)
{
    (void)ReadVersion(current, current, file, line);
}

std::uint32_t CbStreamRead::ReadVersion(std::uint32_t oldest, std::uint32_t current,
                                        std::string_view file, unsigned line)
{
    const std::uint32_t stored = readVersion();
    if (stored < oldest || stored > current) refuse(stored, current, file, line);
    return stored;
}
