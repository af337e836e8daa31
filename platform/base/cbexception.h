#pragma once

/// @file
/// The base of all exceptions.

#include "platform/base/platformapi.h"

#include <exception>
#include <string>
#include <string_view>

/// Place of a failure in the source, for the constructors of the exceptions.
#define CB_HERE __FILE__, __LINE__, __func__

/// A violated precondition, and the base of all exceptions of the library.
class PLATFORM_API CbException : public std::exception
{
public:
    /// @param file name of the source file; folders and ending are not kept
    /// @param line line in that file
    /// @param function name of the function, qualified if it is fixed; may be empty
    /// @param detail what went wrong, with the offending values; UTF-8, may be empty
    CbException(std::string_view file, unsigned line, std::string_view function = {},
                std::string_view detail = {});
    CbException(const CbException&) = default;
    CbException& operator=(const CbException&) = default;
    ~CbException() override;

    /// "class: detail (file:line, function)", UTF-8.
    [[nodiscard]] const char* what() const noexcept override { return what_.c_str(); }

    /// The place as it was given, the file without folders and ending.
    [[nodiscard]] const std::string& GetFile() const noexcept { return file_; }
    [[nodiscard]] unsigned GetLine() const noexcept { return line_; }
    [[nodiscard]] const std::string& GetFunction() const noexcept { return function_; }

protected:
    /// For derived classes, whose name what() begins with.
    CbException(std::string_view className, std::string_view file, unsigned line,
                std::string_view function, std::string_view detail);

private:
    std::string file_;
    unsigned line_;
    std::string function_;
    std::string what_;
};
