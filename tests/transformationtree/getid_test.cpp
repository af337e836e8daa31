// The id may be asked for through a null pointer. The compiler must not conclude from the call that
// the pointer is never null, and neither may the sanitizer stop it.

#include "transformationtree/zectransformationnode.h"

#include <gtest/gtest.h>

#if defined(_MSC_VER) && !defined(__clang__)
#define CALLS_THROUGH_NULL __declspec(noinline)
#else
#define CALLS_THROUGH_NULL __attribute__((noinline, no_sanitize("undefined")))
#endif

namespace
{

// Volatile: compilers must not see that it is null.
const ZeCTransformationNode* volatile nullNode = nullptr;

CALLS_THROUGH_NULL CyUniqueID idOfNull() { return nullNode->GetID(); }

TEST(ANullNode, HasTheInvalidId)
{
    EXPECT_EQ(idOfNull(), ZeCTransformationNode::GetInvalidID());
    EXPECT_EQ(idOfNull().ToString(), CB_TEXT("00000000-0000-0000-0000-000000000000"));
}

} // namespace
