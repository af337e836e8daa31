#pragma once

#include <compare>
#include <cstdint>

/// A point in time: seconds since the beginning of 1970, UTC. The default is 0.
class CTime
{
public:
    constexpr CTime() noexcept = default;
    constexpr explicit CTime(std::int64_t seconds) noexcept : seconds_(seconds) {}

    [[nodiscard]] constexpr std::int64_t GetTime() const noexcept { return seconds_; }

    friend constexpr auto operator<=>(const CTime&, const CTime&) noexcept = default;

private:
    std::int64_t seconds_ = 0;
};
