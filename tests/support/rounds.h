#pragma once

/// Number of rounds of a long property test: all of them in an ordinary build, a part where the
/// build is slow (TREE_TEST_ROUNDS_DIVISOR).
constexpr int Rounds(int full)
{
    return (full + TREE_TEST_ROUNDS_DIVISOR - 1) / TREE_TEST_ROUNDS_DIVISOR;
}
