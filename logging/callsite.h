#pragma once

#include <cstdint>

namespace Logging
{

/// Where a message comes from. The back end reads the record as it lies in memory, so the order of
/// the members is part of its interface.
struct CallSite
{
    const char* file;
    std::uint32_t line;
    const char* function; ///< qualified, as in "ZeCTransformationNode::SetRelativeTrafo"
};

} // namespace Logging
