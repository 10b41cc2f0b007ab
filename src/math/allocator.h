#ifndef VELO_ALLOCATOR_H
#define VELO_ALLOCATOR_H

#include "votypes.h"

namespace velo {

//! \brief Polymorphic memory source for the library's sparse types.
//! The default goes to the system heap and reports exhaustion as std::bad_alloc.
class Allocator
{
public:
    Allocator() = default;
    Allocator(const Allocator&) = default;
    Allocator& operator=(const Allocator&) = default;

    virtual bool canFree() const;
    virtual void* malloc(VoSize size);
    virtual void free(void* p);
    virtual void* realloc(void* p, VoSize size);
    virtual ~Allocator();
};

// The system's malloc; throws std::bad_alloc instead of returning null.
void* veloMathMalloc(VoSize size);

} // namespace velo

#endif // VELO_ALLOCATOR_H
