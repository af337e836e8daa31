#pragma once

/// @file
/// All node iterators and the ranges over them.

#include "transformationtree/zencachedleafnodeiterator.h" // IWYU pragma: export
#include "transformationtree/zenfatheriterator.h"         // IWYU pragma: export
#include "transformationtree/zeninnernodeiterator.h"      // IWYU pragma: export
#include "transformationtree/zenleafnodeiterator.h"       // IWYU pragma: export
#include "transformationtree/zennodeiterator.h"           // IWYU pragma: export
#include "transformationtree/zetnoderange.h"              // IWYU pragma: export
