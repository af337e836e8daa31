#pragma once

#include "benchmarks/support/ratiobenchmark.h"

#include <optional>

/// Measures one benchmark in a process of its own: what others left in the heap and the library,
/// such as memory that is warm or lies on large pages, is neither its gain nor its loss. Nothing
/// where that process ends without a result.
[[nodiscard]] std::optional<RatioResult> MeasureApart(const RatioBenchmark& benchmark, int runs);
