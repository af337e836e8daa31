#pragma once

#include "platform/base/cbwchar.h"
#include "platform/base/platformapi.h"

#include <compare>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

/// Wide string of UTF-16 units, the same on all systems.
///
/// Any sequence of units is kept as it is, embedded zeros and lone surrogates included. Comparison
/// is unit by unit.
class PLATFORM_API CString
{
public:
    /// Units that live elsewhere; they may hold zeros.
    using View = std::basic_string_view<CbWChar>;

    /// The empty string.
    CString() noexcept = default;
    /// Copies all units. Moving leaves an empty string behind.
    CString(const CString& other) : CString(other.GetView()) {}
    CString(CString&&) noexcept = default;
    CString& operator=(const CString& other) { return *this = CString(other); }
    CString& operator=(CString&&) noexcept = default;
    ~CString() = default;
    /// Copies a zero-terminated text; null gives the empty string.
    CString(const CbWChar* text); // NOLINT: literals are strings
    /// Copies all units of the view.
    explicit CString(View text);

    /// Copies units that may lie at any address. @p units may be null if there are none.
    [[nodiscard]] static CString FromUnits(const void* units, std::size_t count);
    /// Converts from UTF-8. Malformed bytes become U+FFFD.
    [[nodiscard]] static CString FromUtf8(std::string_view text);
    /// Converts to UTF-8. Lone surrogates become U+FFFD.
    [[nodiscard]] std::string ToUtf8() const;

    /// Number of units, and whether there are none.
    [[nodiscard]] std::size_t GetLength() const noexcept { return text().size(); }
    [[nodiscard]] bool IsEmpty() const noexcept { return text().empty(); }
    /// The units with a zero behind them. Lifetime: until the string is changed.
    [[nodiscard]] const CbWChar* GetString() const noexcept { return text().c_str(); }
    /// The units without the zero. Lifetime: as of GetString().
    [[nodiscard]] View GetView() const noexcept { return text(); }

    /// Becomes the empty string.
    void Empty() noexcept { text_.reset(); }
    /// Appends @p other, which may be this string.
    CString& operator+=(const CString& other);
    /// The units of @p a and behind them those of @p b.
    friend CString operator+(CString a, const CString& b) { return a += b; }

    /// Compares unit by unit, as unsigned numbers.
    friend bool operator==(const CString& a, const CString& b) noexcept
    {
        return a.text() == b.text();
    }
    friend std::strong_ordering operator<=>(const CString& a, const CString& b) noexcept
    {
        return a.text().compare(b.text()) <=> 0;
    }

private:
    using Text = std::basic_string<CbWChar>;

    [[nodiscard]] static CString take(Text&& text);
    [[nodiscard]] const Text& text() const noexcept;

    std::unique_ptr<Text> text_; ///< null for the empty string
};
