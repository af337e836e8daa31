#include "platform/base/cyuniqueid.h"

#include <bit>
#include <random>

namespace
{

/// Generator xoshiro256++ of Blackman and Vigna, seeded from the system once.
class Generator
{
public:
    Generator()
    {
        std::random_device device;
        for (auto& word : state_) word = std::uint64_t{device()} << 32 | device();
        state_[0] |= 1; // a state of zeros would stay so
    }

    std::uint64_t Next() noexcept
    {
        const std::uint64_t result = std::rotl(state_[0] + state_[3], 23) + state_[0];
        const std::uint64_t shifted = state_[1] << 17;
        state_[2] ^= state_[0];
        state_[3] ^= state_[1];
        state_[1] ^= state_[2];
        state_[0] ^= state_[3];
        state_[2] ^= shifted;
        state_[3] = std::rotl(state_[3], 45);
        return result;
    }

private:
    std::array<std::uint64_t, 4> state_;
};

} // namespace

void CyUniqueID::Renew()
{
    thread_local Generator generator;
    const std::uint64_t halves[2] = {generator.Next(), generator.Next()};
    static_assert(sizeof halves == sizeof bytes_);
    std::memcpy(bytes_.data(), halves, sizeof halves);
    bytes_[6] = static_cast<std::uint8_t>((bytes_[6] & 0x0F) | 0x40); // version 4: random
    bytes_[8] = static_cast<std::uint8_t>((bytes_[8] & 0x3F) | 0x80); // the usual variant
}

std::array<CbWChar, 36> CyUniqueID::ToText() const noexcept
{
    static constexpr CbWChar c_digits[] = CB_TEXT("0123456789abcdef");
    std::array<CbWChar, 36> text;
    auto* unit = text.data();
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) *unit++ = CbWChar{'-'};
        *unit++ = c_digits[bytes_[i] >> 4];
        *unit++ = c_digits[bytes_[i] & 0x0F];
    }
    return text;
}
