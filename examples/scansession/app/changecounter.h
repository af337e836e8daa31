#pragma once

#include "platform/messages/cymessagesubscription.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace scansession
{

/// Counts the messages about changes of the tree, as a display would listen to them.
///
/// They come while somebody pumps the dispatcher, on that thread.
class ChangeCounter
{
public:
    /// Subscribes.
    ChangeCounter();
    ChangeCounter(const ChangeCounter&) = delete;
    ChangeCounter& operator=(const ChangeCounter&) = delete;

    /// Says in one line what has changed so far, such as "clusters created: 1, nodes added: 3"
    /// or "none".
    [[nodiscard]] std::string Summary() const;

private:
    std::map<std::string, std::uint64_t> counts_;
    std::vector<CyMessageSubscription> subscriptions_; ///< end before the counts go
};

} // namespace scansession
