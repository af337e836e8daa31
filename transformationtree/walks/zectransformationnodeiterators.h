#pragma once

/// @file
/// All iterators over nodes and surfels, and the ranges over them.

#include "transformationtree/walks/zecsurfelrange.h"                  // IWYU pragma: export
#include "transformationtree/walks/zencachedleafnodeiterator.h"       // IWYU pragma: export
#include "transformationtree/walks/zenfatheriterator.h"               // IWYU pragma: export
#include "transformationtree/walks/zeninnernodeiterator.h"            // IWYU pragma: export
#include "transformationtree/walks/zenleafnodeiterator.h"             // IWYU pragma: export
#include "transformationtree/walks/zennodeiterator.h"                 // IWYU pragma: export
#include "transformationtree/walks/zenrandomaccesssurfeliterator.h"   // IWYU pragma: export
#include "transformationtree/walks/zenrandomsamplingsurfeliterator.h" // IWYU pragma: export
#include "transformationtree/walks/zensurfeliterator.h"               // IWYU pragma: export
#include "transformationtree/walks/zetnoderange.h"                    // IWYU pragma: export
