#include "examples/scansession/scans/textfile.h"

#include "examples/scansession/scans/inputerror.h"

#include <charconv>
#include <cstdint>
#include <fstream>

namespace scansession
{

std::string ReadWholeFile(const std::filesystem::path& path)
{
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) throw InputError(path.string() + ": no such file");
    if (!std::filesystem::is_regular_file(status)) throw InputError(path.string() + ": is no file");

    std::ifstream file(path, std::ios::binary);
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (!file || error) throw InputError(path.string() + ": cannot be opened for reading");
    std::string content(static_cast<std::size_t>(size), '\0');
    file.read(content.data(), static_cast<std::streamsize>(content.size()));
    if (static_cast<std::uintmax_t>(file.gcount()) != size) {
        throw InputError(path.string() + ": cannot be read to its end");
    }
    return content;
}

std::vector<std::string_view> SplitWords(std::string_view line)
{
    constexpr std::string_view c_blanks = " \t\r\v\f";
    std::vector<std::string_view> words;
    for (auto begin = line.find_first_not_of(c_blanks); begin != std::string_view::npos;) {
        const auto end = std::min(line.find_first_of(c_blanks, begin), line.size());
        words.push_back(line.substr(begin, end - begin));
        begin = line.find_first_not_of(c_blanks, end);
    }
    return words;
}

std::vector<std::string_view> SplitLines(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const auto end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        lines.push_back(line);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

std::optional<double> ParseNumber(std::string_view word)
{
    if (word.starts_with('+')) {
        word.remove_prefix(1);
        if (word.starts_with('-')) return std::nullopt;
    }
    double value = 0.0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return value;
}

std::string Quoted(std::string_view text)
{
    constexpr std::size_t c_longest = 40;
    std::string quoted = "'";
    for (const char c : text.substr(0, c_longest)) {
        quoted += c >= ' ' && c <= '~' ? c : '?';
    }
    return quoted + (text.size() > c_longest ? "...'" : "'");
}

} // namespace scansession
