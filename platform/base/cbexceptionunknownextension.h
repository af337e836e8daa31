#pragma once

#include "platform/base/cbexception.h"

/// An object was asked for an extension that it does not offer.
class PLATFORM_API CbExceptionUnknownExtension : public CbException
{
public:
    /// Takes what CbException takes.
    CbExceptionUnknownExtension(std::string_view file, unsigned line,
                                std::string_view function = {}, std::string_view detail = {});
    ~CbExceptionUnknownExtension() override;
};
