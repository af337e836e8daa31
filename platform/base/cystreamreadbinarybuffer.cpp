#include "platform/base/cystreamreadbinarybuffer.h"

CyStreamReadBinaryBuffer::CyStreamReadBinaryBuffer(std::span<const std::uint8_t> bytes) noexcept
    : CbStreamReadBinary(bytes)
{}

CyStreamReadBinaryBuffer::CyStreamReadBinaryBuffer(const void* data, std::size_t bytes) noexcept
    : CbStreamReadBinary({static_cast<const std::uint8_t*>(data), bytes})
{}

CyStreamReadBinaryBuffer::CyStreamReadBinaryBuffer(const CyStreamWriteBinaryBuffer& buffer) noexcept
    : CbStreamReadBinary(buffer.GetBytes())
{}

CyStreamReadBinaryBuffer::~CyStreamReadBinaryBuffer() = default;
