#pragma once

/// @file
/// The whole library: nodes, walks, the node manager, tree utility and tree object, and what they
/// throw.

#include "platform/base/cbexception.h"
#include "platform/math3d/cyexceptionnotinvertible.h"
#include "transformationtree/zectransformationnodeiterators.h"
#include "transformationtree/zectransformationnodemanager.h"
#include "transformationtree/zectransformationtree.h"
#include "transformationtree/zectransformationtreeutility.h"
