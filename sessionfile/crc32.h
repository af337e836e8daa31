#pragma once

#include <cstdint>
#include <span>

namespace sessionfile
{

/// The CRC-32 of bytes, as zip and PNG files have it: reflected polynomial 0xEDB88320, first and
/// last value inverted. That of "123456789" is 0xCBF43926.
[[nodiscard]] std::uint32_t Crc32(std::span<const std::uint8_t> bytes) noexcept;

} // namespace sessionfile
