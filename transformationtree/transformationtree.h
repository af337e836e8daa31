#pragma once

/// @file
/// The whole library: nodes, walks and the node manager.

#include "transformationtree/zectransformationnodeiterators.h"
#include "transformationtree/zectransformationnodemanager.h"
