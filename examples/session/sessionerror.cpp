#include "examples/session/sessionerror.h"

namespace sessionfile
{

SessionError::SessionError(EKind kind, const std::string& text)
    : std::runtime_error(text), kind_(kind)
{}

SessionError::~SessionError() = default;

} // namespace sessionfile
