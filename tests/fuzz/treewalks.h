#pragma once

#include "tests/support/scenario.h"

/// Number of nodes at and below @p top where each is listed once, by the father it names; 0 where
/// the records that were read make no tree of them.
[[nodiscard]] std::size_t CountTree(const Inner& top);

/// Walks a tree of @p count nodes, writes it out as a node vector and computes what is computed of
/// subtrees; expects that all agree.
void WalkTree(const Inner& root, std::size_t count);
