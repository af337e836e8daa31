#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace scansession
{

enum class PlyFormat
{
    Ascii,
    BinaryLittleEndian,
    BinaryBigEndian,
};

enum class PlyType
{
    Int8,
    UInt8,
    Int16,
    UInt16,
    Int32,
    UInt32,
    Float32,
    Float64,
};

/// Bytes of a value in a binary file.
[[nodiscard]] std::size_t SizeOf(PlyType type);
[[nodiscard]] constexpr bool IsFloatingPoint(PlyType type) { return type >= PlyType::Float32; }

/// One column of an element: a value for each row, or a list for each row. Every type fits a
/// double.
struct PlyProperty
{
    std::string name;
    PlyType type = PlyType::Float32;
    bool isList = false;
    PlyType countType = PlyType::UInt8;

    std::vector<double> values;        ///< of all rows, one after the other
    std::vector<std::size_t> listEnds; ///< lists only: where the list of each row ends in `values`
};

/// One table of a file.
struct PlyElement
{
    std::string name;
    std::uint64_t count = 0; ///< rows
    std::vector<PlyProperty> properties;

    /// The property of that name that is (@p isList) or is not a list; null if there is none.
    [[nodiscard]] const PlyProperty* Find(std::string_view property, bool isList = false) const;
};

/// A whole PLY file, known elements and unknown ones alike.
struct PlyFile
{
    PlyFormat format = PlyFormat::Ascii;
    std::vector<std::pair<std::string, std::string>> infos; ///< obj_info lines: first word, rest
    std::vector<PlyElement> elements;

    /// The first element of that name; null if there is none.
    [[nodiscard]] const PlyElement* Find(std::string_view element) const;
    /// The text of an obj_info line; null if there is none.
    [[nodiscard]] const std::string* FindInfo(std::string_view key) const;
};

/// Reads a PLY 1.0 file of any of the three formats, with line feeds or CR LF as line ends.
///
/// Strict, so that hardly a damaged file passes for a whole one: all rows are there, and nothing
/// but white space may follow the last one. The last line of an ASCII file may lack its line end,
/// so one cut within its last word is taken for whole. Counts are checked against what remains of
/// the file before anything is allocated for them. Throws: InputError naming the file and the line
/// (text) or the byte (binary data).
[[nodiscard]] PlyFile ReadPly(const std::filesystem::path& path);

} // namespace scansession
