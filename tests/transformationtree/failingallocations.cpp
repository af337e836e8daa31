#include "tests/transformationtree/failingallocations.h"

#include <cstdlib>
#include <new>

namespace
{

thread_local long t_allocationsLeft = -1;

} // namespace

void FailAllocationsAfter(long number) { t_allocationsLeft = number; }

void* operator new(std::size_t size)
{
    if (t_allocationsLeft == 0) throw std::bad_alloc();
    if (t_allocationsLeft > 0) --t_allocationsLeft;
    if (void* const memory = std::malloc(size != 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
