#pragma once

/// @file
/// Formatting of wide text.

#include "platform/base/cstring.h"
#include "platform/base/platformapi.h"

#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <type_traits>

/// One argument of CbFormat with its type and width.
class CbFormatArgument
{
public:
    /// Text, null printing "(null)". Lifetime: it outlives the argument.
    CbFormatArgument(const CString& text) noexcept // NOLINT: arguments convert freely, as below
        : kind_(Kind::Text), text_(text.GetView())
    {}
    CbFormatArgument(const CbWChar* text) noexcept : kind_(Kind::Text) // NOLINT
    {
        text_ = text != nullptr ? CString::View(text) : CString::View(CB_TEXT("(null)"));
    }
    /// Narrow text would print as its address.
    CbFormatArgument(const char* text) = delete;
    CbFormatArgument(std::nullptr_t) = delete;
    /// An integer, printed at the width that it has.
    template<std::integral T>
    CbFormatArgument(T value) noexcept // NOLINT
        : kind_(Kind::Integer),
          isSigned_(std::is_signed_v<T>),
          signed_(static_cast<std::int64_t>(value)),
          unsigned_(toUnsigned(value))
    {}
    /// A floating-point number.
    CbFormatArgument(double value) noexcept : kind_(Kind::Floating), floating_(value) {} // NOLINT
    /// An address.
    CbFormatArgument(const void* address) noexcept // NOLINT
        : CbFormatArgument(reinterpret_cast<std::uintptr_t>(address))
    {}

private:
    friend class CbFormatter;

    enum class Kind : std::uint8_t
    {
        Text,
        Integer,
        Floating
    };

    template<class T>
    static constexpr std::uint64_t toUnsigned(T value) noexcept
    {
        if constexpr (std::same_as<T, bool>) {
            return value ? 1 : 0;
        } else {
            return static_cast<std::make_unsigned_t<T>>(value);
        }
    }

    Kind kind_;
    bool isSigned_ = false; ///< whether signed_ is the integer's value, or else unsigned_
    CString::View text_;
    std::int64_t signed_ = 0;
    std::uint64_t unsigned_ = 0; ///< the integer's bits at its own width
    double floating_ = 0;
};

/// Formats a list of arguments. See CbFormat.
[[nodiscard]] PLATFORM_API CString
CbFormatArguments(const CbWChar* format, std::initializer_list<CbFormatArgument> arguments);

/// Formats wide text, the same on all systems and in all locales.
///
/// %s takes text (null prints "(null)"); %d and %u take integers in decimal, %x and %X in
/// hexadecimal, and %X addresses too; %f takes a floating-point number and prints six decimals; %%
/// is a percent sign. There are no flags, widths or precisions: each argument is printed at its own
/// full width, so 64 bits are not cut.
///
/// Throws: CbException if format and arguments do not fit each other.
template<class... Args>
[[nodiscard]] CString CbFormat(const CbWChar* format, const Args&... arguments)
{
    return CbFormatArguments(format, {CbFormatArgument(arguments)...});
}

/// The same for the arguments that a log back end is handed: there %d, %u, %x and %X take 32 bits,
/// %f a double and %s a pointer to zero-terminated units. The list is used up. Throws: CbException
/// for a directive that is not known.
[[nodiscard]] PLATFORM_API CString CbFormatV(const CbWChar* format, std::va_list arguments);
