#pragma once

#include <cstddef>

/// Expects that little memory was taken while it lives: three times the input, besides what even
/// the shortest may take. What is promised for sessions of 4 MiB would tell little of inputs that
/// are as short as a fuzzer's.
class LittleMemory
{
public:
    explicit LittleMemory(std::size_t inputBytes);
    LittleMemory(const LittleMemory&) = delete;
    LittleMemory& operator=(const LittleMemory&) = delete;
    ~LittleMemory();

private:
    std::size_t most_;
};
