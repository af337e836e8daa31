#include "sessionfile/crc32.h"

#include <array>
#include <cstddef>

namespace sessionfile
{

namespace
{

constexpr std::size_t c_step = 8; // bytes that one round of the loop takes

/// Table k holds, for each byte, the remainder of that byte with k zero bytes behind it.
using Tables = std::array<std::array<std::uint32_t, 256>, c_step>;

constexpr Tables c_tables = [] {
    Tables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t remainder = byte;
        for (int bit = 0; bit < 8; ++bit) {
            remainder = remainder >> 1 ^ ((remainder & 1) != 0 ? 0xEDB88320U : 0U);
        }
        tables[0][byte] = remainder;
    }
    for (std::size_t k = 1; k < c_step; ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = tables[k - 1][byte];
            tables[k][byte] = before >> 8 ^ tables[0][before & 0xFF];
        }
    }
    return tables;
}();

} // namespace

std::uint32_t Crc32(std::span<const std::uint8_t> bytes) noexcept
{
    std::uint32_t crc = 0xFFFFFFFF;
    for (; bytes.size() >= c_step; bytes = bytes.subspan(c_step)) {
        std::uint32_t first = 0;
        for (std::size_t i = 0; i < 4; ++i) first |= std::uint32_t{bytes[i]} << 8 * i;
        first ^= crc;
        crc = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            crc ^= c_tables[7 - i][first >> 8 * i & 0xFF] ^ c_tables[3 - i][bytes[4 + i]];
        }
    }
    for (const std::uint8_t byte : bytes) crc = crc >> 8 ^ c_tables[0][(crc ^ byte) & 0xFF];
    return ~crc;
}

} // namespace sessionfile
