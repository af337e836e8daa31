#pragma once

#include "transformationtree/manager/internal/creatednodes.h"
#include "transformationtree/manager/internal/nodepointers.h"
#include "transformationtree/tree/internal/changemessages.h"

/// What ZeCTransformationTreeUtility::PrepareForNextChild() does, as a part of a larger edit, which
/// keeps the new nodes and posts the messages.
[[nodiscard]] InnerPointer MakeRoomForNextChild(const InnerPointer& node, unsigned int maxChildren,
                                                InnerPointer& topNode, CreatedNodes& created,
                                                ChangeMessages& messages);
