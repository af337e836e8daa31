#pragma once

/// @file
/// The type of revisions.

/// A revision of a node, -1 for none. New ones come from a counter of the process that only grows.
/// Streams hold it in 64 bits.
using ZeTNodeRevision = long long;
