#pragma once

/// @file
/// The type of revisions.

/// A revision of a node: a number that only grows within one process, -1 for none. Streams hold it
/// in 64 bits.
using ZeTNodeRevision = long long;
