#include "platform/base/cbexception.h"

CbException::CbException(std::string_view file, unsigned line, std::string_view function,
                         std::string_view detail)
    : CbException("CbException", file, line, function, detail)
{}

CbException::CbException(std::string_view className, std::string_view file, unsigned line,
                         std::string_view function, std::string_view detail)
    : line_(line), function_(function)
{
    if (const auto slash = file.find_last_of("/\\"); slash != std::string_view::npos) {
        file.remove_prefix(slash + 1);
    }
    file_ = file.substr(0, file.find('.'));

    what_ = className;
    if (!detail.empty()) what_.append(": ").append(detail);
    what_.append(" (").append(file_).append(":").append(std::to_string(line_));
    if (!function_.empty()) what_.append(", ").append(function_);
    what_.append(")");
}

CbException::~CbException() = default;
