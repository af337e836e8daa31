#pragma once

#include "platform/base/cbexception.h"

/// A stored record has a version that its reader does not know.
class PLATFORM_API CbExceptionWrongFileVersion : public CbException
{
public:
    /// Takes what CbException takes.
    CbExceptionWrongFileVersion(std::string_view file, unsigned line,
                                std::string_view function = {}, std::string_view detail = {});
    ~CbExceptionWrongFileVersion() override;
};
