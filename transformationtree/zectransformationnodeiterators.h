#pragma once

/// @file
/// All iterators over nodes and surfels, and the ranges over them.

#include "transformationtree/zecsurfelrange.h"                  // IWYU pragma: export
#include "transformationtree/zencachedleafnodeiterator.h"       // IWYU pragma: export
#include "transformationtree/zenfatheriterator.h"               // IWYU pragma: export
#include "transformationtree/zeninnernodeiterator.h"            // IWYU pragma: export
#include "transformationtree/zenleafnodeiterator.h"             // IWYU pragma: export
#include "transformationtree/zennodeiterator.h"                 // IWYU pragma: export
#include "transformationtree/zenrandomaccesssurfeliterator.h"   // IWYU pragma: export
#include "transformationtree/zenrandomsamplingsurfeliterator.h" // IWYU pragma: export
#include "transformationtree/zensurfeliterator.h"               // IWYU pragma: export
#include "transformationtree/zetnoderange.h"                    // IWYU pragma: export
