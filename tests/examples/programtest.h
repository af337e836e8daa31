#pragma once

#include "tests/support/tempfolder.h"

#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>
#include <vector>

#ifndef _WIN32
#include <sys/wait.h>
#endif

/// Runs programs as a shell does.
class ProgramTest : public TempFolder
{
protected:
    /// What a program left behind.
    struct Result
    {
        int exitCode; ///< -1 where it did not come to its end
        std::string out;
        std::string err;
    };

    /// Waits for its end. The arguments must not hold quotation marks.
    [[nodiscard]] Result RunProgram(const std::string& program,
                                    const std::vector<std::string>& arguments,
                                    const char* outName = "stdout.txt") const
    {
        const auto out = Folder() / outName; // or elsewhere, where the name is absolute
        const auto err = Folder() / "stderr.txt";
        std::string command = '"' + program + '"';
        for (const auto& argument : arguments) command += " \"" + argument + '"';
        command += " >\"" + out.string() + "\" 2>\"" + err.string() + '"';
#ifdef _WIN32
        // The shell takes the outermost pair away.
        const int exitCode = std::system(('"' + command + '"').c_str());
#else
        const int status = std::system(command.c_str());
        const int exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
        return {exitCode, Read(Folder() / "stdout.txt"), Read(err)};
    }

    static void ExpectOneLine(const Result& result, const std::string& begin,
                              const std::string& reason)
    {
        EXPECT_THAT(result.err, testing::StartsWith(begin));
        EXPECT_THAT(result.err, testing::HasSubstr(reason));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
};
