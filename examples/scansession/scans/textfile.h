#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace scansession
{

/// The whole content of a regular file.
/// Throws: InputError naming the file if it is missing, no regular file, or not readable.
[[nodiscard]] std::string ReadWholeFile(const std::filesystem::path& path);

/// The words of a line, parted by blanks, tabs and carriage returns.
[[nodiscard]] std::vector<std::string_view> SplitWords(std::string_view line);

/// The lines of a text without their line ends (LF or CR LF).
[[nodiscard]] std::vector<std::string_view> SplitLines(std::string_view text);

/// The number that @p word is as a whole, whatever the locale; a leading plus is allowed.
[[nodiscard]] std::optional<double> ParseNumber(std::string_view word);

/// A piece of foreign text for a message: cut to a sensible length, unprintable bytes as '?'.
[[nodiscard]] std::string Quoted(std::string_view text);

} // namespace scansession
