#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

/// The qualities of surfels, stored as bytes and used as numbers from 0 to 1.
///
/// @code
/// const float best = container->GetQualityAccessor()[index];
/// container->GetQualityAccessor()[index] = 0.5F;
/// @endcode
///
/// Lifetime: as for the other accessors, until the container changes its number of surfels.
template<class Byte>
class ZeTQualityAccessor
{
    static_assert(std::is_same_v<std::remove_const_t<Byte>, std::uint8_t>);

public:
    /// Stands for one quality. Reads as byte / 255.
    class Element
    {
    public:
        /// Lifetime: that of @p byte.
        explicit Element(Byte& byte) noexcept : byte_(&byte) {}
        Element(const Element&) noexcept = default;
        ~Element() = default;

        /// The quality, from 0 to 1.
        operator float() const noexcept { return static_cast<float>(*byte_) / 255.0F; } // NOLINT

        /// Stores a quality, rounded half up. What lies outside 0..1 becomes the nearer end, NaN 0.
        const Element& operator=(float quality) const noexcept // NOLINT
            requires(!std::is_const_v<Byte>)
        {
            const float clamped = quality > 0.0F ? (quality < 1.0F ? quality : 1.0F) : 0.0F;
            *byte_ = static_cast<std::uint8_t>(clamped * 255.0F + 0.5F); // NOLINT: half up
            return *this;
        }
        /// Stores the quality that @p other stands for.
        const Element& operator=(const Element& other) const noexcept // NOLINT
            requires(!std::is_const_v<Byte>)
        {
            *byte_ = *other.byte_;
            return *this;
        }

    private:
        Byte* byte_;
    };

    /// Lifetime: that of the bytes.
    explicit ZeTQualityAccessor(std::span<Byte> bytes) noexcept : bytes_(bytes) {}

    /// The caller sees to it that @p index is below size().
    [[nodiscard]] Element operator[](std::size_t index) const noexcept
    {
        return Element(bytes_[index]);
    }
    /// Number of surfels.
    [[nodiscard]] std::size_t size() const noexcept { return bytes_.size(); }
    /// The stored bytes.
    [[nodiscard]] Byte* data() const noexcept { return bytes_.data(); }

private:
    std::span<Byte> bytes_;
};
