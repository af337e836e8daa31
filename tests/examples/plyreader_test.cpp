#include "examples/scansession/scans/ply.h"
#include "tests/examples/inputerrors.h"

#include <algorithm>
#include <sstream>

using namespace scansession;
using testing::ElementsAre;

namespace
{

/// One file with every type, an unknown element and lists, empty ones among them.
std::string HeaderAs(const std::string& format)
{
    return "ply\nformat " + format +
           " 1.0\ncomment a comment\nobj_info num_cols 2\nobj_info a b  c\n"
           "element gadget 1\nproperty uchar a\nproperty list ushort double b\n"
           "element vertex 2\n"
           "property float x\nproperty float64 d\nproperty char c8\nproperty uint8 u8\n"
           "property short i16\nproperty uint16 u16\nproperty int32 i32\nproperty uint u32\n"
           "element cell 3\nproperty list uchar int index\nend_header\n";
}

const std::string c_asciiBody = "7 2 0.5 -1e3\n"
                                "1.5 -2.25 -128 255 -32768 65535 -2147483648 4294967295\n"
                                "0 +1e-3 5 6 7 8 9 10\n"
                                "1 42\n0\n2 -1 3\n";

std::string BinaryBody(bool isBigEndian)
{
    std::istringstream values("07 0002 3FE0000000000000 C08F400000000000 "
                              "3FC00000 C002000000000000 80 FF 8000 FFFF 80000000 FFFFFFFF "
                              "00000000 3F50624DD2F1A9FC 05 06 0007 0008 00000009 0000000A "
                              "01 0000002A 00 02 FFFFFFFF 00000003");
    std::string body;
    for (std::string value; values >> value;) {
        std::string bytes;
        for (std::size_t at = 0; at < value.size(); at += 2) {
            bytes += static_cast<char>(std::stoi(value.substr(at, 2), nullptr, 16));
        }
        if (!isBigEndian) std::reverse(bytes.begin(), bytes.end());
        body += bytes;
    }
    return body;
}

std::string WithLineEnds(std::string text, const std::string& end)
{
    for (auto at = text.find('\n'); at != std::string::npos;
         at = text.find('\n', at + end.size())) {
        text.replace(at, 1, end);
    }
    return text;
}

/// The file in each encoding, by name.
using Encodings = std::vector<std::pair<std::string, std::string>>;

Encodings AllEncodings()
{
    const std::string ascii = HeaderAs("ascii");
    const std::string little = HeaderAs("binary_little_endian");
    return {{"ascii", ascii + c_asciiBody},
            {"ascii with CR LF", WithLineEnds(ascii + c_asciiBody, "\r\n")},
            {"ascii in one line", ascii + WithLineEnds(c_asciiBody, "\t")},
            {"little endian", little + BinaryBody(false)},
            {"big endian", HeaderAs("binary_big_endian") + BinaryBody(true)},
            {"little endian behind CR LF", WithLineEnds(little, "\r\n") + BinaryBody(false)}};
}

const auto readPly = [](const std::filesystem::path& path) { (void)ReadPly(path); };

} // namespace

using PlyFiles = InputFiles;

TEST_F(PlyFiles, ReadTheSameInEveryEncoding)
{
    for (const auto& [name, content] : AllEncodings()) {
        SCOPED_TRACE(name);
        const PlyFile file = ReadPly(Write("a.ply", content));
        ASSERT_EQ(file.elements.size(), 3U);
        EXPECT_EQ(*file.FindInfo("num_cols"), "2");
        EXPECT_EQ(*file.FindInfo("a"), "b c");
        EXPECT_EQ(file.FindInfo("b"), nullptr);

        const PlyElement* const gadget = file.Find("gadget");
        ASSERT_NE(gadget, nullptr);
        EXPECT_THAT(gadget->Find("a")->values, ElementsAre(7.0));
        EXPECT_EQ(gadget->Find("b"), nullptr) << "a list is no scalar";
        EXPECT_THAT(gadget->Find("b", true)->values, ElementsAre(0.5, -1000.0));

        const PlyElement* const vertex = file.Find("vertex");
        ASSERT_NE(vertex, nullptr);
        const struct
        {
            const char* name;
            double first;
            double second;
        } columns[] = {{"x", 1.5, 0},           {"d", -2.25, 1e-3},     {"c8", -128, 5},
                       {"u8", 255, 6},          {"i16", -32768, 7},     {"u16", 65535, 8},
                       {"i32", -2147483648, 9}, {"u32", 4294967295, 10}};
        for (const auto& column : columns) {
            EXPECT_THAT(vertex->Find(column.name)->values,
                        ElementsAre(column.first, column.second));
        }
        const PlyProperty* const index = file.Find("cell")->Find("index", true);
        EXPECT_THAT(index->values, ElementsAre(42.0, -1.0, 3.0));
        EXPECT_THAT(index->listEnds, ElementsAre(1U, 1U, 3U));
    }
}

TEST_F(PlyFiles, CutShortAnywhereAreRefusedByName)
{
    for (const auto& [name, content] : AllEncodings()) {
        SCOPED_TRACE(name);
        const std::size_t whole = content.find_last_not_of("\t\r\n") + 1; // no need for a line end
        EXPECT_NO_THROW((void)ReadPly(Write("whole.ply", content.substr(0, whole))));
        // All headers are alike.
        const bool isFirst = name == "ascii" || name == "little endian behind CR LF";
        for (std::size_t length = isFirst ? 0 : content.find("end_h"); length < whole; ++length) {
            ExpectRefused(content.substr(0, length), ": ", readPly);
        }
    }
}

TEST_F(PlyFiles, WithDamageAreRefusedWithPlaceAndReason)
{
    const std::string start = "ply\nformat ascii 1.0\n";
    const std::string binary = "ply\nformat binary_little_endian 1.0\n";
    const std::string vertex = "element vertex 2\nproperty uchar x\nend_header\n";
    const std::string list = "element face 1\nproperty list int uchar i\nend_header\n";
    const std::pair<std::string, const char*> cases[] = {
        {"", "line 1: is no PLY file"},
        {"solid model\n", "line 1: is no PLY file"},
        {"ply\n" + vertex + "1 2\n", "the header has no format line"},
        {"ply\nformat morse 1.0\n", "line 2: unknown format 'morse'"},
        {"ply\nformat ascii 2.0\n", "line 2: is not of PLY version 1.0"},
        {start + "format ascii 1.0\n", "line 3: second format line"},
        {start + "elephant\n", "line 3: unknown header line 'elephant'"},
        {start + "element vertex -1\n", "line 3: '-1' is no count"},
        {start + "element v 18446744073709551616\n", "is no count"},
        {start + "element v 3x\n", "'3x' is no count"},
        {start + "property float x\n", "before the first element"},
        {start + "element v 1\nproperty real x\n", "unknown type 'real'"},
        {start + "element v 1\nproperty int x\nproperty int x\n", "second property"},
        {start + "element v 1\nproperty list float int x\n", "must be an integer"},
        {start + vertex + "1 two\n", "line 6: 'two' is no number"},
        {start + vertex + "1\n\n2,5\n", "line 8: '2,5' is no number"},
        {start + vertex + "1\n256\n", "line 7: '256' does not fit"},
        {start + vertex + "1\n2.5\n", "line 7: '2.5' does not fit"},
        {start + vertex + "1\nnan\n", "does not fit"},
        {start + vertex + "1\n2\n3\n", "line 8: data after the last row"},
        {binary + vertex + "abc", "data after the last row"},
        // Counts that memory must not be taken for.
        {start + "element v 18446744073709551615\nproperty int x\nend_header\n1\n",
         "the 18446744073709551615 rows of element 'v' do not fit"},
        {binary + "element v 4611686018427387904\nproperty int x\nend_header\nabcd",
         "the 4611686018427387904 rows of element 'v' do not fit"},
        {start + list + "2147483647 1\n", "a list of 2147483647 values"},
        {binary + list + "\xFF\xFF\xFF\x7F\x01", "a list of 2147483647 values"},
        {start + list + "-1 1\n", "a list of -1 values"},
        {binary + list + "\xFF\xFF\xFF\xFF\x01", "a list of -1 values"},
    };
    for (const auto& [content, reason] : cases) {
        ExpectRefused(content, reason, readPly);
    }
}
