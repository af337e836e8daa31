#pragma once

/// Lets allocations of the calling thread fail, once a number of them have succeeded; a negative
/// number ends that. A program has it by its own operator new.
void FailAllocationsAfter(long number);
