#pragma once

#include "platform/base/platformapi.h"

#include <cstdint>

/// Base of the streams that records are written to.
class PLATFORM_API CbStreamWrite
{
public:
    CbStreamWrite(const CbStreamWrite&) = delete;
    CbStreamWrite& operator=(const CbStreamWrite&) = delete;
    virtual ~CbStreamWrite();

    /// Writes the version of the record that follows.
    virtual void WriteVersion(std::uint32_t version) = 0;

protected:
    CbStreamWrite() = default;
};
