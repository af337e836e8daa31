#pragma once

/// @file
/// The whole library: nodes and their attributes, walks and lists of nodes, the node manager and
/// its self-test, tree utility and tree object, the mappers of stored ids, and what goes with them:
/// streams over memory, threads, surfels on grids, messages, and what is thrown.

#include "platform/base/cbexception.h"
#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionunknownextension.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "platform/base/cbthread.h"
#include "platform/base/cystreamreadbinarybuffer.h"
#include "platform/base/cystreamwritebinarybuffer.h"
#include "platform/datacontainer/models/qmt_depthimage.h"
#include "platform/datacontainer/models/zecmodelserializationidmapper.h"
#include "platform/datacontainer/sampling/zecgridsampler.h"
#include "platform/datacontainer/sampling/zecshiftedgridsampler.h"
#include "platform/math3d/cyboundingsphere.h"
#include "platform/math3d/cyexceptionnotinvertible.h"
#include "platform/messages/cymessagedispatcher.h"
#include "platform/messages/zecmessagesurfelcollectionmodified.h"
#include "platform/messages/zecmessagetransformationchanged.h"
#include "platform/messages/zecmessagetreestructuremodified.h"
#include "transformationtree/attributes/zecareapropertiesattribute.h"
#include "transformationtree/attributes/zecbackgroundoptimizationloopcountattribute.h"
#include "transformationtree/attributes/zecdisconnectedcomponentwarningattribute.h"
#include "transformationtree/attributes/zecimageareadataattribute.h"
#include "transformationtree/attributes/zecjawsemanticsattribute.h"
#include "transformationtree/attributes/zecregistrationhintsattribute.h"
#include "transformationtree/attributes/zecrepresentativeattribute.h"
#include "transformationtree/manager/zectransformationnodemanager.h"
#include "transformationtree/manager/zectransformationnodemanager_unittest.h"
#include "transformationtree/models/zecleafnodevector.h"
#include "transformationtree/nodes/zectransformationnodeserializationidmapper.h"
#include "transformationtree/tree/zectransformationtree.h"
#include "transformationtree/tree/zectransformationtreeutility.h"
#include "transformationtree/walks/zectransformationnodeiterators.h"
