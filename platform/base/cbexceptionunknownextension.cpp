#include "platform/base/cbexceptionunknownextension.h"

CbExceptionUnknownExtension::CbExceptionUnknownExtension(std::string_view file, unsigned line,
                                                         std::string_view function,
                                                         std::string_view detail)
    : CbException("CbExceptionUnknownExtension", file, line, function, detail)
{}

CbExceptionUnknownExtension::~CbExceptionUnknownExtension() = default;
