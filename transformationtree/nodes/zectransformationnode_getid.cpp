// GetID may be called through a null pointer. The compiler must not conclude that `this` is never
// null: the library is built with -fno-delete-null-pointer-checks, and this one function is neither
// inlined nor checked by the undefined-behaviour sanitizer.

#include "transformationtree/nodes/zectransformationnode.h"

#if defined(__clang__)
#pragma clang diagnostic ignored "-Wtautological-undefined-compare"
#endif

#if defined(_MSC_VER) && !defined(__clang__)
#define TREE_CALLED_THROUGH_NULL __declspec(noinline)
#else
#define TREE_CALLED_THROUGH_NULL __attribute__((noinline, no_sanitize("undefined")))
#endif

TREE_CALLED_THROUGH_NULL CyUniqueID ZeCTransformationNode::GetID() const
{
    return this == nullptr ? GetInvalidID() : id_;
}
