#pragma once

#include <cstdint>

namespace scansession
{

/// A small random generator (SplitMix64) that gives the same numbers with every compiler, which the
/// distributions of the standard library do not promise.
class Random
{
public:
    /// Each pair of @p seed and @p stream has numbers of its own.
    explicit constexpr Random(std::uint64_t seed, std::uint64_t stream = 0)
        : state_(mix(seed) ^ mix(stream + 0x9E3779B97F4A7C15U))
    {}

    constexpr std::uint64_t Next()
    {
        state_ += 0x9E3779B97F4A7C15U;
        return mix(state_);
    }

    /// Even in [0, 1).
    constexpr double Uniform() { return static_cast<double>(Next() >> 11) * 0x1p-53; }
    /// Even in [-1, 1).
    constexpr double Signed() { return 2.0 * Uniform() - 1.0; }
    /// Nearly normal, mean 0 and variance 1, never beyond 3.5: a sum of four even numbers.
    constexpr double Bell()
    {
        double sum = 0.0;
        for (int i = 0; i < 4; ++i) sum += Uniform();
        return (sum - 2.0) * 1.7320508075688772;
    }

private:
    static constexpr std::uint64_t mix(std::uint64_t z)
    {
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
        return z ^ (z >> 31);
    }

    std::uint64_t state_;
};

} // namespace scansession
