#pragma once

#include "transformationtree/manager/internal/treemirror.h"

#include <cstdint>

/// Where an edit was asked for, as exceptions and warnings say it.
struct EditPlace
{
    const char* file;
    std::uint32_t line;
    const char* function;
};

/// Throws CbException from @p place unless a child may come below a father: for null, a node that
/// would come to stand below itself, and the manager's root.
void RequireInsertable(const InnerPointer& father, const NodePointer& child,
                       const TreeMirror& mirror, const EditPlace& place);

/// Throws as RequireInsertable() for each of the nodes, and if one is named twice. Returns them
/// sorted by address.
[[nodiscard]] BorrowedNodes RequireAllInsertable(const InnerPointer& father,
                                                 const std::vector<NodePointer>& nodes,
                                                 const TreeMirror& mirror, const EditPlace& place);

/// True if the nodes, sorted by address, contain this one.
[[nodiscard]] bool Contains(const BorrowedNodes& sorted, const ZeCTransformationNode* node);
