#include "transformationtree/manager/internal/refusednodes.h"

#include "logging/log.h"
#include "transformationtree/manager/internal/nodemanagernames.h"

#include <algorithm>
#include <limits>

RefusedNodes::~RefusedNodes()
{
    if (!first_) return;
    try {
        constexpr std::size_t c_largest = std::numeric_limits<std::int32_t>::max();
        Logging::LogWarning(c_nodeManagerLogger, file_, line_, function_,
                            CB_TEXT("Nodes that the data manager refused, and that stay where "
                                    "they are in it: %d, node %s first."),
                            static_cast<std::int32_t>(std::min(number_, c_largest)),
                            first_->GetName().GetString());
    } catch (...) { // NOLINT: the edit is done, whether that can be told or not
    }
}

void RefusedNodes::Add(CyNode* first, std::size_t number) noexcept
{
    if (!first_) first_ = CbSmartPointer<CyNode>(first);
    number_ += number;
}
