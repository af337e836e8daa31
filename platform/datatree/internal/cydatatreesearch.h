#pragma once

#include "platform/datatree/cydatatreeentry.h"

/// The flags that one search sets on entries.
///
/// An entry keeps the number of the last search that marked it above eight bits for the flags. So a
/// new search finds no flags, and nothing has to be cleared.
///
/// Threads: guarded by the mutex of the engine. A search is over when the mutex is left.
class CyDataTreeSearch
{
public:
    /// Starts a search.
    /// @param searches number of searches so far, of all in one data manager
    explicit CyDataTreeSearch(std::uint64_t& searches) noexcept : number_(++searches) {}

    /// Returns those of the flags that are set.
    [[nodiscard]] unsigned Get(const CyDataTreeEntry& entry, unsigned flags) const noexcept
    {
        const bool isMine = entry.searchMark >> c_flagBits == number_;
        return isMine ? static_cast<unsigned>(entry.searchMark) & flags : 0;
    }
    /// Sets a flag. False if it was set already.
    bool Set(CyDataTreeEntry& entry, unsigned flag) const noexcept
    {
        if (entry.searchMark >> c_flagBits != number_) entry.searchMark = number_ << c_flagBits;
        if ((entry.searchMark & flag) != 0) return false;
        entry.searchMark |= flag;
        return true;
    }

private:
    static constexpr int c_flagBits = 8;

    std::uint64_t number_;
};
