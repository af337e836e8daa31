#pragma once

#include "platform/base/cbstreamwritebinary.h"

#include <memory>
#include <span>

/// Collects what is written in memory. The memory grows in amortised constant time.
///
/// @code
/// CyStreamWriteBinaryBuffer buffer;
/// buffer << std::int32_t{7};
/// stream.WriteBuffer(buffer.GetData(), buffer.GetCount());
/// @endcode
class PLATFORM_API CyStreamWriteBinaryBuffer : public CbStreamWriteBinary
{
public:
    CyStreamWriteBinaryBuffer() = default;
    ~CyStreamWriteBinaryBuffer() override;

    /// The bytes written so far. Lifetime: until the next write.
    [[nodiscard]] const std::uint8_t* GetData() const noexcept { return memory_.get(); }
    /// Number of bytes written so far.
    [[nodiscard]] std::size_t GetCount() const noexcept
    {
        return static_cast<std::size_t>(position_ - memory_.get());
    }
    /// GetData() and GetCount() in one.
    [[nodiscard]] std::span<const std::uint8_t> GetBytes() const noexcept
    {
        return {GetData(), GetCount()};
    }
    /// Forgets what was written and keeps the memory.
    void Empty() noexcept { position_ = memory_.get(); }

protected:
    void makeRoom(std::size_t bytes) override;

private:
    std::unique_ptr<std::uint8_t[]> memory_;
};
