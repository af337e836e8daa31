#pragma once

#include "sessionfile/unknownrecords.h"

#include <string>

namespace scansession
{

/// One line without its end: how many records of a session are of unknown classes, and which
/// classes those are.
[[nodiscard]] std::string DescribeUnknown(const sessionfile::UnknownRecords& unknown);

} // namespace scansession
