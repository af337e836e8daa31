#pragma once

#include "platform/attributes/zearttiattribute.h"

#include <ostream>

namespace treeinspect
{

/// Prints the class of an attribute and, for the classes of the library, what a session stores of
/// it; without an end of line.
void PrintAttribute(const ZeARTTIAttribute& attribute, std::ostream& out);

} // namespace treeinspect
