#pragma once

#include "platform/base/platformapi.h"

#include <cstddef>
#include <memory>

/// A piece of memory for large arrays, aligned to 64 bytes; its contents are not set.
///
/// Memory of the system costs most when it is touched for the first time, page by page. From 2 MiB
/// on, pieces ask for large pages, of which the system has to hand out far fewer: what is not
/// touched costs nothing all the same, to the next 2 MiB. A system without them gives usual ones.
/// When such pieces are no longer used, they are kept for the next ones of their size or somewhat
/// less: up to 64 MiB in all. They go back to the system if it has no memory left, if
/// GiveBackKept() is called, or when the process ends.
///
/// Threads: different pieces may be taken and freed at the same time.
class PLATFORM_API CbLargeMemory
{
public:
    /// No memory.
    CbLargeMemory() noexcept = default;
    /// Takes memory; none for 0 bytes. Throws: std::bad_alloc.
    explicit CbLargeMemory(std::size_t bytes);

    /// Gives all memory that is kept for later pieces back to the system. Pieces in use stay.
    /// Threads: any thread at any time. What others free meanwhile may be kept again.
    /// Cost: a system call for each piece, of which there are at most 32. The next pieces touch
    /// new memory.
    static void GiveBackKept() noexcept;

    /// The first byte, null if there is no memory.
    [[nodiscard]] std::byte* Get() const noexcept { return memory_.get(); }

private:
    struct Free
    {
        std::size_t bytes;
        void operator()(std::byte* memory) const noexcept;
    };

    std::unique_ptr<std::byte, Free> memory_;
};
