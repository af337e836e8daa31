#pragma once

#include "platform/base/cbsmartpointer.h"
#include "platform/base/cyuniqueid.h"
#include "platform/datacontainer/models/zecmodelqmt.h"

#include <cstdint>
#include <span>

namespace sessionfile
{

/// Whether a stored model, class name first, is of a class that is not linked in.
/// Throws: CbExceptionStream if it ends within the name.
[[nodiscard]] bool IsOfUnknownClass(std::span<const std::uint8_t> stored);

/// Makes a model without surfels, maps it as ReadModel() of the id mapper does, and returns it: one
/// with the id, the description and the number of a stored model, whatever its class.
/// Returns null if that does not begin as models do.
[[nodiscard]] CbSmartPointer<const ZeCModelQMT> MapStandIn(std::span<const std::uint8_t> stored);
/// The same for a model of which only the id is known, which is not nil.
CbSmartPointer<const ZeCModelQMT> MapStandIn(const CyUniqueID& id);

} // namespace sessionfile
