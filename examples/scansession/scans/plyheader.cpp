#include "examples/scansession/scans/plyheader.h"

#include "examples/scansession/scans/inputerror.h"
#include "examples/scansession/scans/textfile.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace scansession
{

namespace
{

struct TypeName
{
    std::string_view name;
    PlyType type;
};

constexpr std::array<TypeName, 16> c_typeNames{{
    {"char", PlyType::Int8},
    {"int8", PlyType::Int8},
    {"uchar", PlyType::UInt8},
    {"uint8", PlyType::UInt8},
    {"short", PlyType::Int16},
    {"int16", PlyType::Int16},
    {"ushort", PlyType::UInt16},
    {"uint16", PlyType::UInt16},
    {"int", PlyType::Int32},
    {"int32", PlyType::Int32},
    {"uint", PlyType::UInt32},
    {"uint32", PlyType::UInt32},
    {"float", PlyType::Float32},
    {"float32", PlyType::Float32},
    {"double", PlyType::Float64},
    {"float64", PlyType::Float64},
}};

/// Takes the header apart line by line.
class HeaderReader
{
public:
    HeaderReader(std::string_view content, const std::string& name) : content_(content), name_(name)
    {}

    PlyHeader Read()
    {
        if (nextLine() != std::vector<std::string_view>{"ply"}) fail("is no PLY file");
        bool hasFormat = false;
        for (;;) {
            const auto words = nextLine();
            if (words.empty() || words[0] == "comment") continue;
            if (words[0] == "end_header") break;
            if (words[0] == "obj_info") {
                addInfo(words);
            } else if (words[0] == "format") {
                if (std::exchange(hasFormat, true)) fail("second format line");
                setFormat(words);
            } else if (words[0] == "element") {
                addElement(words);
            } else if (words[0] == "property") {
                addProperty(words);
            } else {
                fail("unknown header line " + Quoted(words[0]));
            }
        }
        if (!hasFormat) fail("the header has no format line");
        return std::move(header_);
    }

private:
    [[noreturn]] void fail(const std::string& what) const
    {
        throw InputError(name_ + ": line " + std::to_string(header_.lines) + ": " + what);
    }

    std::vector<std::string_view> nextLine()
    {
        ++header_.lines;
        const auto end = std::min(content_.find('\n', header_.size), content_.size());
        auto words = SplitWords(content_.substr(header_.size, end - header_.size));
        const bool isCut = end == content_.size() && words != SplitWords("end_header");
        if (isCut) fail(header_.lines == 1 ? "is no PLY file" : "the file ends inside its header");
        header_.size = std::min(end + 1, content_.size());
        return words;
    }

    void addInfo(const std::vector<std::string_view>& words)
    {
        if (words.size() < 2) return;
        std::string text;
        for (std::size_t i = 2; i < words.size(); ++i) {
            text += (i > 2 ? " " : "") + std::string(words[i]);
        }
        header_.file.infos.emplace_back(words[1], text);
    }

    void setFormat(const std::vector<std::string_view>& words)
    {
        if (words.size() != 3 || words[2] != "1.0") fail("is not of PLY version 1.0");
        if (words[1] == "ascii") {
            header_.file.format = PlyFormat::Ascii;
        } else if (words[1] == "binary_little_endian") {
            header_.file.format = PlyFormat::BinaryLittleEndian;
        } else if (words[1] == "binary_big_endian") {
            header_.file.format = PlyFormat::BinaryBigEndian;
        } else {
            fail("unknown format " + Quoted(words[1]));
        }
    }

    void addElement(const std::vector<std::string_view>& words)
    {
        if (words.size() != 3) fail("an element line needs a name and a count");
        PlyElement element;
        element.name = words[1];
        const char* const end = words[2].data() + words[2].size();
        const auto [stop, error] = std::from_chars(words[2].data(), end, element.count);
        if (error != std::errc{} || stop != end) fail(Quoted(words[2]) + " is no count of rows");
        header_.file.elements.push_back(std::move(element));
    }

    void addProperty(const std::vector<std::string_view>& words)
    {
        if (header_.file.elements.empty()) fail("a property before the first element");
        PlyProperty property;
        property.isList = words.size() == 5 && words[1] == "list";
        if (!property.isList && words.size() != 3) fail("malformed property line");
        property.name = words.back();
        property.type = typeOf(words[words.size() - 2]);
        if (property.isList) {
            property.countType = typeOf(words[2]);
            if (IsFloatingPoint(property.countType)) fail("a list length must be an integer");
        }
        auto& properties = header_.file.elements.back().properties;
        if (std::any_of(properties.begin(), properties.end(),
                        [&](const PlyProperty& other) { return other.name == property.name; })) {
            fail("second property " + Quoted(property.name) + " of one element");
        }
        properties.push_back(std::move(property));
    }

    PlyType typeOf(std::string_view word) const
    {
        const auto found = std::find_if(c_typeNames.begin(), c_typeNames.end(),
                                        [&](const TypeName& t) { return t.name == word; });
        if (found == c_typeNames.end()) fail("unknown type " + Quoted(word));
        return found->type;
    }

    std::string_view content_;
    const std::string& name_;
    PlyHeader header_;
};

} // namespace

PlyHeader ReadPlyHeader(std::string_view content, const std::string& name)
{
    return HeaderReader(content, name).Read();
}

} // namespace scansession
