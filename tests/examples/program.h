#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// What a program left behind.
struct ProgramResult
{
    int exitCode = -1; ///< -1 where the program did not come to its end
    std::string out;
    std::string err;
};

/// Runs the example with arguments, which must not hold quotation marks, and waits for its end. Its
/// output goes through files in @p folder.
[[nodiscard]] ProgramResult RunScansession(const std::vector<std::string>& arguments,
                                           const std::filesystem::path& folder);
