#pragma once

#include "transformationtree/manager/internal/nodepointers.h"

#include <cstddef>

// Steps on the links between fathers and children that several edits take. None of them touches
// the mirror; revisions only if it says so.

/// True for an inner node with at least one entry.
[[nodiscard]] bool HasChildren(const ZeCTransformationNode& node);

/// The index of the first entry of a node among a father's children; their number if there is none.
[[nodiscard]] std::size_t IndexOf(const ZeCTransformationNodeInner& father,
                                  const ZeCTransformationNode* child) noexcept;

/// Makes room for more children, so that their insertion can't fail.
void ReserveMore(ZeCChildList& children, std::size_t number);

/// Inserts and links a child that has no father.
void InsertLinked(const InnerPointer& father, std::size_t index, const NodePointer& child);

/// Erases the entry of a child in a father that is not its own any more, and corrects an index.
void EraseStaleEntry(ZeCTransformationNodeInner& father, const ZeCTransformationNode& child,
                     std::size_t& index);

/// Erases all entries that belong to other fathers by now, and renews the node if there were any.
/// A leaf has none.
void EraseStaleEntries(ZeCTransformationNode& node);

/// Takes sorted nodes from the lists of their fathers, which are these, and gives them a new one,
/// which does not list them yet. The fathers lose all entries that are not theirs, and are renewed.
void Relink(const BorrowedNodes& sorted, const std::vector<InnerPointer>& oldFathers,
            const InnerPointer& newFather);

/// Cuts the links to the father and, as far as this node has them, to the children.
void CutLinks(ZeCTransformationNode& node);
