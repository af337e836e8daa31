#include "platform/base/cystreamwritebinarybuffer.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr std::size_t c_firstRoom = 256;

} // namespace

CyStreamWriteBinaryBuffer::~CyStreamWriteBinaryBuffer() = default;

void CyStreamWriteBinaryBuffer::makeRoom(std::size_t bytes)
{
    const std::size_t count = GetCount();
    const std::size_t room = std::max({c_firstRoom, 2 * count, count + bytes});
    auto memory = std::make_unique_for_overwrite<std::uint8_t[]>(room);
    std::copy_n(memory_.get(), count, memory.get());
    memory_ = std::move(memory);
    position_ = memory_.get() + count;
    end_ = memory_.get() + room;
}
