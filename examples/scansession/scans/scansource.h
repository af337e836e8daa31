#pragma once

#include "examples/scansession/scans/scan.h"

#include <cstddef>
#include <string>

namespace scansession
{

/// Where the scans of a session come from, one after the other.
class ScanSource
{
public:
    ScanSource() = default;
    ScanSource(const ScanSource&) = delete;
    ScanSource& operator=(const ScanSource&) = delete;
    virtual ~ScanSource() = default;

    /// What taking the scans is called, in messages.
    [[nodiscard]] virtual std::string Stage() const = 0;
    /// Number of scans.
    [[nodiscard]] virtual std::size_t Count() const = 0;
    /// Makes scan @p index, below Count().
    [[nodiscard]] virtual Scan Take(std::size_t index) const = 0;
};

} // namespace scansession
