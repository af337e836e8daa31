#include "sessionfile/sessionerror.h"

#include <algorithm>

namespace sessionfile
{

namespace
{

/// Texts hold names that stand in the file, where anything may stand.
std::string oneLine(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return text;
}

} // namespace

SessionError::SessionError(EKind kind, const std::string& text)
    : std::runtime_error(oneLine(text)), kind_(kind)
{}

SessionError::~SessionError() = default;

} // namespace sessionfile
