#pragma once

#include <functional>

/// Runs @p work and returns how much memory it occupied at most, in MB above what was occupied
/// before, or 0 where the system does not tell.
[[nodiscard]] double PeakMemoryOf(const std::function<void()>& work);
