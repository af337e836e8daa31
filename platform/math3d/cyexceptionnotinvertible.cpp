#include "platform/math3d/cyexceptionnotinvertible.h"

CyExceptionNotInvertible::CyExceptionNotInvertible(std::string_view file, unsigned line,
                                                   std::string_view function,
                                                   std::string_view detail)
    : CbException("CyExceptionNotInvertible", file, line, function, detail)
{}

CyExceptionNotInvertible::~CyExceptionNotInvertible() = default;
