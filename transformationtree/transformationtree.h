#pragma once

/// @file
/// The whole library but for its self-test: nodes and their attributes, walks and lists of nodes,
/// the node manager, tree utility and tree object, the mapper of stored ids, and what they throw.

#include "platform/base/cbexception.h"
#include "platform/math3d/cyexceptionnotinvertible.h"
#include "transformationtree/zecareapropertiesattribute.h"
#include "transformationtree/zecbackgroundoptimizationloopcountattribute.h"
#include "transformationtree/zecdisconnectedcomponentwarningattribute.h"
#include "transformationtree/zecimageareadataattribute.h"
#include "transformationtree/zecjawsemanticsattribute.h"
#include "transformationtree/zecleafnodevector.h"
#include "transformationtree/zecregistrationhintsattribute.h"
#include "transformationtree/zecrepresentativeattribute.h"
#include "transformationtree/zectransformationnodeiterators.h"
#include "transformationtree/zectransformationnodemanager.h"
#include "transformationtree/zectransformationnodeserializationidmapper.h"
#include "transformationtree/zectransformationtree.h"
#include "transformationtree/zectransformationtreeutility.h"
