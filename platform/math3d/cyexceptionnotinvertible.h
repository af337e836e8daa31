#pragma once

#include "platform/base/cbexception.h"

/// A matrix with determinant exactly 0.0 was to be inverted.
class PLATFORM_API CyExceptionNotInvertible : public CbException
{
public:
    /// Takes what CbException takes.
    CyExceptionNotInvertible(std::string_view file, unsigned line, std::string_view function = {},
                             std::string_view detail = {});
    ~CyExceptionNotInvertible() override;
};
