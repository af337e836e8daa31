#pragma once

#include "tests/support/storedbytes.h"

#include <fstream>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <string>

inline std::string ContentOf(const std::string& path)
{
    std::ifstream file(TREE_SOURCE_FOLDER "/" + path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

inline Bytes Golden(const std::string& name)
{
    const std::string content = ContentOf("tests/golden/" + name);
    return {content.begin(), content.end()};
}

inline std::string HexOf(const Bytes& bytes)
{
    std::ostringstream text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        text << std::hex << std::setfill('0') << std::setw(2) << unsigned{bytes[i]}
             << (i % 16 == 15 ? "\n" : " ");
    }
    return text.str();
}
