#pragma once

/// @file
/// The whole library: nodes, walks, the node manager, and what they throw.

#include "platform/base/cbexception.h"
#include "platform/math3d/cyexceptionnotinvertible.h"
#include "transformationtree/zectransformationnodeiterators.h"
#include "transformationtree/zectransformationnodemanager.h"
