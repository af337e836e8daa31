#include "examples/scansession/scans/inputerror.h"
#include "examples/scansession/scans/ply.h"
#include "examples/scansession/scans/plyheader.h"
#include "examples/scansession/scans/textfile.h"

#include <array>
#include <bit>
#include <cmath>
#include <limits>

namespace scansession
{

namespace
{

constexpr bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// Least and largest value of an integer type.
std::array<double, 2> RangeOf(PlyType type)
{
    const double values = std::ldexp(1.0, static_cast<int>(8 * SizeOf(type)));
    const bool isSigned = type == PlyType::Int8 || type == PlyType::Int16 || type == PlyType::Int32;
    return isSigned ? std::array{-values / 2.0, values / 2.0 - 1.0} : std::array{0.0, values - 1.0};
}

/// Delivers the values of an ASCII body, word by word.
class AsciiValues
{
public:
    AsciiValues(std::string_view content, const PlyHeader& header, const std::string& name)
        : rest_(content.substr(header.size)), line_(header.lines + 1), name_(name)
    {}

    /// A value needs a digit and, but for the last one of the file, white space behind it.
    [[nodiscard]] static std::size_t LeastSize(PlyType) { return 2; }
    [[nodiscard]] std::size_t Room() const { return rest_.size() + 1; }
    [[nodiscard]] std::size_t Remaining() const { return rest_.size(); }

    double Read(PlyType type)
    {
        SkipBlanks();
        std::size_t length = 0;
        while (length < rest_.size() && !IsBlank(rest_[length])) ++length;
        if (length == 0) Fail("the file ends inside its data");
        const auto word = rest_.substr(0, length);
        const auto value = ParseNumber(word);
        if (!value) Fail(Quoted(word) + " is no number");
        if (!IsFloatingPoint(type)) {
            const auto [least, largest] = RangeOf(type);
            if (!(*value >= least && *value <= largest) || *value != std::floor(*value)) {
                Fail(Quoted(word) + " does not fit the type of its property");
            }
        }
        rest_.remove_prefix(length);
        return *value;
    }

    void SkipBlanks()
    {
        std::size_t count = 0;
        for (; count < rest_.size() && IsBlank(rest_[count]); ++count) {
            if (rest_[count] == '\n') ++line_;
        }
        rest_.remove_prefix(count);
    }

    [[noreturn]] void Fail(const std::string& what) const
    {
        throw InputError(name_ + ": line " + std::to_string(line_) + ": " + what);
    }

private:
    std::string_view rest_;
    std::size_t line_;
    const std::string& name_;
};

/// Delivers the values of a binary body.
class BinaryValues
{
public:
    BinaryValues(std::string_view content, const PlyHeader& header, const std::string& name)
        : content_(content),
          position_(header.size),
          isBigEndian_(header.file.format == PlyFormat::BinaryBigEndian),
          name_(name)
    {}

    [[nodiscard]] static std::size_t LeastSize(PlyType type) { return SizeOf(type); }
    [[nodiscard]] std::size_t Room() const { return Remaining(); }
    [[nodiscard]] std::size_t Remaining() const { return content_.size() - position_; }

    double Read(PlyType type)
    {
        const std::size_t size = SizeOf(type);
        if (size > Remaining()) Fail("the file ends inside its data");
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const auto byte = static_cast<unsigned char>(content_[position_ + i]);
            const std::size_t place = isBigEndian_ ? size - 1 - i : i;
            bits |= static_cast<std::uint64_t>(byte) << (8 * place);
        }
        position_ += size;
        switch (type) {
        case PlyType::Int8:
            return static_cast<std::int8_t>(bits);
        case PlyType::Int16:
            return static_cast<std::int16_t>(bits);
        case PlyType::Int32:
            return static_cast<std::int32_t>(bits);
        case PlyType::Float32:
            return std::bit_cast<float>(static_cast<std::uint32_t>(bits));
        case PlyType::Float64:
            return std::bit_cast<double>(bits);
        case PlyType::UInt8:
        case PlyType::UInt16:
        case PlyType::UInt32:
            break;
        }
        return static_cast<double>(bits);
    }

    void SkipBlanks()
    {
        while (Remaining() > 0 && IsBlank(content_[position_])) ++position_;
    }

    [[noreturn]] void Fail(const std::string& what) const
    {
        throw InputError(name_ + ": byte " + std::to_string(position_) + ": " + what);
    }

private:
    std::string_view content_;
    std::size_t position_;
    bool isBigEndian_;
    const std::string& name_;
};

template<class Values>
void ReadList(PlyProperty& property, Values& values)
{
    const double length = values.Read(property.countType);
    const auto possible = static_cast<double>(values.Room() / Values::LeastSize(property.type));
    if (!(length >= 0.0 && length <= possible)) {
        values.Fail("a list of " + std::to_string(static_cast<std::int64_t>(length)) +
                    " values cannot follow here");
    }
    for (double i = 0.0; i < length; ++i) property.values.push_back(values.Read(property.type));
    property.listEnds.push_back(property.values.size());
}

/// Reads the rows of one element; refuses a count that the rest of the file cannot hold before it
/// makes room for the rows.
template<class Values>
void ReadRows(PlyElement& element, Values& values)
{
    std::size_t leastRow = 0;
    for (const auto& property : element.properties) {
        leastRow += Values::LeastSize(property.isList ? property.countType : property.type);
    }
    if (leastRow == 0) return; // no properties: rows without content
    if (element.count > values.Room() / leastRow) {
        values.Fail("the " + std::to_string(element.count) + " rows of element " +
                    Quoted(element.name) + " do not fit what is left of the file (" +
                    std::to_string(values.Remaining()) + " bytes)");
    }
    const auto rows = static_cast<std::size_t>(element.count);
    for (auto& property : element.properties) {
        if (property.isList) {
            property.listEnds.reserve(rows);
        } else {
            property.values.reserve(rows);
        }
    }
    for (std::size_t row = 0; row < rows; ++row) {
        for (auto& property : element.properties) {
            if (property.isList) {
                ReadList(property, values);
            } else {
                property.values.push_back(values.Read(property.type));
            }
        }
    }
}

template<class Values>
void ReadBody(PlyFile& file, Values values)
{
    for (auto& element : file.elements) ReadRows(element, values);
    values.SkipBlanks();
    if (values.Remaining() > 0) values.Fail("data after the last row");
}

} // namespace

PlyFile ReadPly(const std::filesystem::path& path)
{
    const std::string name = path.string();
    const std::string content = ReadWholeFile(path);
    PlyHeader header = ReadPlyHeader(content, name);
    if (header.file.format == PlyFormat::Ascii) {
        ReadBody(header.file, AsciiValues(content, header, name));
    } else {
        ReadBody(header.file, BinaryValues(content, header, name));
    }
    return std::move(header.file);
}

} // namespace scansession
