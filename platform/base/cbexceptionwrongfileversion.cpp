#include "platform/base/cbexceptionwrongfileversion.h"

CbExceptionWrongFileVersion::CbExceptionWrongFileVersion(std::string_view file, unsigned line,
                                                         std::string_view function,
                                                         std::string_view detail)
    : CbException("CbExceptionWrongFileVersion", file, line, function, detail)
{}

CbExceptionWrongFileVersion::~CbExceptionWrongFileVersion() = default;
