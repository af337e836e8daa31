#pragma once

#include <cstddef>

// A program has these by its own operator new. Large pieces of memory (CbLargeMemory) are seen only
// in builds with the address sanitizer: in others they are mapped.

/// Lets allocations of the calling thread fail, once a number of them have succeeded; a negative
/// number ends that.
void FailAllocationsAfter(long number);

/// Number of bytes that are allocated now, by all threads.
[[nodiscard]] std::size_t AllocatedBytes();
/// The largest number since the last call of StartAllocationPeak().
[[nodiscard]] std::size_t AllocationPeak();
void StartAllocationPeak();
