#include "tests/examples/program.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace
{

int ExitCodeOf(int status)
{
#ifdef _WIN32
    return status;
#else
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

std::string Read(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

ProgramResult RunScansession(const std::vector<std::string>& arguments,
                             const std::filesystem::path& folder)
{
    const auto out = folder / "stdout.txt";
    const auto err = folder / "stderr.txt";
    std::string command = "\"" SCANSESSION_PROGRAM "\"";
    for (const auto& argument : arguments) command += " \"" + argument + '"';
    command += " >\"" + out.string() + "\" 2>\"" + err.string() + '"';
#ifdef _WIN32
    command = '"' + command + '"'; // the shell takes the outermost pair away
#endif
    const int status = std::system(command.c_str());
    return {ExitCodeOf(status), Read(out), Read(err)};
}
