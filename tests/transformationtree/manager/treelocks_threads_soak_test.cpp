#include "tests/transformationtree/manager/treelocks.h"

TEST_F(TreeLocks, LoseNoUpdateAndGrantEveryLock) { run(std::chrono::seconds(20)); }
