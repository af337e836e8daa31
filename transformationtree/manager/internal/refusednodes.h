#pragma once

#include "platform/datatree/cynode.h"

#include <cstddef>
#include <cstdint>

/// Nodes that the data manager would not move or let go in an edit of the tree. They stay where
/// they are in the data tree, which one warning tells when the edit is done.
///
/// Made before the edit enters a critical section, so that the warning is written outside.
class RefusedNodes
{
public:
    /// @param file, line, function the place of the edit, see CB_HERE
    RefusedNodes(const char* file, std::uint32_t line, const char* function) noexcept
        : file_(file), line_(line), function_(function)
    {}
    RefusedNodes(const RefusedNodes&) = delete;
    RefusedNodes& operator=(const RefusedNodes&) = delete;
    /// Writes the warning, if there is anything to tell and memory to do so.
    ~RefusedNodes();

    /// Adds a number of nodes, the first of them by name.
    /// @param first null if another thread has taken it out meanwhile
    void Add(CyNode* first, std::size_t number) noexcept;

private:
    const char* file_;
    std::uint32_t line_;
    const char* function_;
    CbSmartPointer<CyNode> first_;
    std::size_t number_ = 0;
};
