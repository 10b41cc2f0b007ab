#include "allocator.h"

#include <cstdlib>
#include <new>

namespace velo {

bool Allocator::canFree() const
{
    return true;
}

void* Allocator::malloc(VoSize size)
{
    return veloMathMalloc(size);
}

void Allocator::free(void* p)
{
    std::free(p);
}

void* Allocator::realloc(void* p, VoSize size)
{
    void* result = std::realloc(p, size);
    if (!result)
        throw std::bad_alloc();
    return result;
}

Allocator::~Allocator() = default;

void* veloMathMalloc(VoSize size)
{
    void* result = std::malloc(size);
    if (!result)
        throw std::bad_alloc();
    return result;
}

} // namespace velo
