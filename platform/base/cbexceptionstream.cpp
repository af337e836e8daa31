#include "platform/base/cbexceptionstream.h"

CbExceptionStream::CbExceptionStream(std::string_view file, unsigned line,
                                     std::string_view function, std::string_view detail)
    : CbException("CbExceptionStream", file, line, function, detail)
{}

CbExceptionStream::~CbExceptionStream() = default;
