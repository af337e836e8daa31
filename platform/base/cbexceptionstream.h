#pragma once

#include "platform/base/cbexception.h"

/// A stream ended early, or holds data that can't be right.
class PLATFORM_API CbExceptionStream : public CbException
{
public:
    /// Takes what CbException takes.
    CbExceptionStream(std::string_view file, unsigned line, std::string_view function = {},
                      std::string_view detail = {});
    ~CbExceptionStream() override;
};
