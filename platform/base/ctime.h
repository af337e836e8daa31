#pragma once

#include <compare>
#include <cstdint>

/// A point in time: seconds since the beginning of 1970, UTC. The default is 0.
class CTime
{
public:
    constexpr CTime() noexcept = default;
    /// @param seconds since the beginning of 1970, UTC; negative before
    constexpr explicit CTime(std::int64_t seconds) noexcept : seconds_(seconds) {}

    /// The seconds it was made of.
    [[nodiscard]] constexpr std::int64_t GetTime() const noexcept { return seconds_; }

    /// Earlier is less.
    friend constexpr auto operator<=>(const CTime&, const CTime&) noexcept = default;

private:
    std::int64_t seconds_ = 0;
};
