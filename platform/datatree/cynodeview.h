#pragma once

#include "platform/base/cbsmartpointer.h"
#include "platform/datatree/cynode.h"

#include <cstddef>
#include <vector>

/// A view of smart pointers to nodes of one class, whichever that is.
///
/// Lifetime: the pointers must stay, and keep their nodes alive. Null ones are allowed.
class CyNodeView
{
public:
    /// All of a vector.
    template<class Node>
    explicit CyNodeView(const std::vector<CbSmartPointer<Node>>& nodes) noexcept
        : first_(nodes.data()), count_(nodes.size()), at_(&at<Node>)
    {}
    /// A single one.
    template<class Node>
    explicit CyNodeView(const CbSmartPointer<Node>& node) noexcept
        : first_(&node), count_(1), at_(&at<Node>)
    {}

    /// Number of pointers, null ones too.
    [[nodiscard]] std::size_t GetCount() const noexcept { return count_; }
    /// The node at an index below the count, or null.
    [[nodiscard]] CyNode* operator[](std::size_t index) const noexcept
    {
        return at_(first_, index);
    }
    /// The first node for which a predicate is true, or null.
    template<class Predicate>
    [[nodiscard]] CyNode* Find(Predicate predicate) const
    {
        for (std::size_t i = 0; i < count_; ++i) {
            CyNode* const node = (*this)[i];
            if (node != nullptr && predicate(*node)) return node;
        }
        return nullptr;
    }

private:
    template<class Node>
    static CyNode* at(const void* first, std::size_t index) noexcept
    {
        return static_cast<const CbSmartPointer<Node>*>(first)[index].Get();
    }

    const void* first_;
    std::size_t count_;
    CyNode* (*at_)(const void* first, std::size_t index);
};
