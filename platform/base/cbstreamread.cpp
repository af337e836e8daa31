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
    const std::uint32_t stored = readVersion();
    if (stored > current) refuse(stored, current, file, line);
    return stored;
}

void CbStreamRead::ReadVersion(std::uint32_t current, std::string_view file, unsigned line)
{
    const std::uint32_t stored = readVersion();
    if (stored != current) refuse(stored, current, file, line);
}
