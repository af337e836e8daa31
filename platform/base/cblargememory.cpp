#include "platform/base/cblargememory.h"

#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbimmortal.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace
{

constexpr std::align_val_t c_cacheLine{64};
constexpr std::size_t c_largePage = std::size_t{2} << 20U;
#if defined(TREE_ADDRESS_SANITIZER)
// It knows nothing of memory that is mapped or kept.
constexpr std::size_t c_leastLarge = std::numeric_limits<std::size_t>::max();
#else
constexpr std::size_t c_leastLarge = c_largePage;
#endif

struct Piece
{
    std::byte* memory;
    std::size_t bytes;
};

#if defined(__linux__) && defined(MADV_HUGEPAGE)

// Lengths of mappings, which are multiples of all usual sizes of pages.
std::size_t mappedBytes(std::size_t bytes) noexcept
{
    constexpr std::size_t c_multiple = std::size_t{64} << 10U;
    return (bytes + c_multiple - 1) / c_multiple * c_multiple;
}

// Takes a large piece from the system. Throws: std::bad_alloc.
Piece takeFromSystem(std::size_t bytes)
{
    if (bytes > std::numeric_limits<std::size_t>::max() / 2) throw std::bad_alloc();
    // One large page more, of which what lies before the first and behind the last is not needed.
    const std::size_t mapped = mappedBytes(bytes);
    void* const all = mmap(nullptr, mapped + c_largePage, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (all == MAP_FAILED) throw std::bad_alloc();
    const std::size_t before = -reinterpret_cast<std::uintptr_t>(all) % c_largePage;
    auto* const memory = static_cast<std::byte*>(all) + before;
    if (before != 0) munmap(all, before);
    munmap(memory + mapped, c_largePage - before);
    madvise(memory, bytes / c_largePage * c_largePage, MADV_HUGEPAGE); // refused: usual pages
    return {memory, bytes};
}

void giveBack(const Piece& piece) noexcept { munmap(piece.memory, mappedBytes(piece.bytes)); }

#else

Piece takeFromSystem(std::size_t bytes)
{
    return {static_cast<std::byte*>(::operator new(bytes, c_cacheLine)), bytes};
}

void giveBack(const Piece& piece) noexcept { ::operator delete(piece.memory, c_cacheLine); }

#endif

/// Pieces that nobody uses.
class KeptPieces
{
public:
    /// Returns a piece that is large enough and not much larger; one without memory if there is
    /// none.
    [[nodiscard]] Piece Take(std::size_t bytes) noexcept
    {
        const CbCriticalSectionLock lock(section_);
        std::size_t best = count_;
        for (std::size_t i = 0; i < count_; ++i) {
            const std::size_t found = pieces_[i].bytes;
            if (found < bytes || found - bytes > bytes / 4) continue;
            if (best == count_ || found < pieces_[best].bytes) best = i;
        }
        return best == count_ ? Piece{} : remove(best);
    }
    /// Keeps a piece. If they become too many, those that were kept first are given back.
    void Keep(const Piece& piece) noexcept
    {
        if (piece.bytes > c_mostBytes) return giveBack(piece);
        for (;;) {
            Piece first;
            {
                const CbCriticalSectionLock lock(section_);
                if (bytes_ <= c_mostBytes - piece.bytes) {
                    pieces_[count_++] = piece;
                    bytes_ += piece.bytes;
                    return;
                }
                first = remove(0);
            }
            giveBack(first);
        }
    }
    /// Gives all pieces back.
    void Clear() noexcept
    {
        for (;;) {
            Piece first;
            {
                const CbCriticalSectionLock lock(section_);
                if (count_ == 0) return;
                first = remove(0);
            }
            giveBack(first);
        }
    }

private:
    static constexpr std::size_t c_mostBytes = std::size_t{64} << 20U;

    Piece remove(std::size_t i) noexcept CB_REQUIRES(section_)
    {
        const Piece removed = pieces_[i];
        std::copy(&pieces_[i] + 1, &pieces_[0] + count_, &pieces_[i]);
        --count_;
        bytes_ -= removed.bytes;
        return removed;
    }

    CbCriticalSection section_;
    /// The oldest one first.
    std::array<Piece, c_mostBytes / c_largePage> pieces_ CB_GUARDED_BY(section_){};
    std::size_t count_ CB_GUARDED_BY(section_) = 0;
    std::size_t bytes_ CB_GUARDED_BY(section_) = 0; ///< of all
};

KeptPieces& keptPieces()
{
    static CbImmortal<KeptPieces> pieces;
    return *pieces;
}

// Takes a piece of at least so many bytes. Throws: std::bad_alloc.
Piece take(std::size_t bytes)
{
    const Piece kept = keptPieces().Take(bytes);
    if (kept.memory != nullptr) return kept;
    try {
        return takeFromSystem(bytes);
    } catch (const std::bad_alloc&) {
        keptPieces().Clear();
        return takeFromSystem(bytes);
    }
}

} // namespace

CbLargeMemory::CbLargeMemory(std::size_t bytes)
{
    if (bytes == 0) return;
    if (bytes >= c_leastLarge) {
        const Piece piece = take(bytes);
        memory_ = {piece.memory, {piece.bytes}};
    } else {
        memory_ = {static_cast<std::byte*>(::operator new(bytes, c_cacheLine)), {bytes}};
    }
}

void CbLargeMemory::GiveBackKept() noexcept { keptPieces().Clear(); }

void CbLargeMemory::Free::operator()(std::byte* memory) const noexcept
{
    if (bytes >= c_leastLarge) {
        keptPieces().Keep({memory, bytes});
    } else {
        ::operator delete(memory, c_cacheLine);
    }
}
