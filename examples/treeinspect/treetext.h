#pragma once

#include "sessionfile/unknownrecords.h"
#include "transformationtree/nodes/zectransformationnode.h"

#include <ostream>

namespace treeinspect
{

/// Prints a line for each node at or below @p top, children indented below their father:
/// description, kind, id, revisions (model and transformation), surfels and pose, which are the 16
/// values of the transformation into the father's frame; and below it a line for each of the node's
/// attributes. Models and attributes of unknown classes are named by their class. Then a line of
/// totals.
void PrintTree(const ZeCTransformationNode& top, const sessionfile::UnknownRecords& unknown,
               std::ostream& out);

} // namespace treeinspect
