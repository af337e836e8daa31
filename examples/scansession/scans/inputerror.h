#pragma once

#include <stdexcept>

namespace scansession
{

/// What the user gave cannot be used. The text is one line and names the file.
class InputError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace scansession
