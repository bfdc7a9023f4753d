// A standard allocator over tracked memory, for the containers that engine
// objects keep for their whole life (path points, dash patterns, gradient
// stops, clip regions): their blocks count like every other block of the
// library, and an injected allocation failure reaches them. A failure throws
// std::bad_alloc, which the operation that grew the container turns into
// ERROR_NO_MEMORY.
#pragma once

#include <cstddef>
#include <new>
#include <vector>

#include "base/tracked_memory.h"

namespace kvdrw::native {

template <class T>
struct TrackedAllocator {
    using value_type = T;
    TrackedAllocator() = default;
    template <class U>
    TrackedAllocator(const TrackedAllocator<U>&) noexcept {}

    T* allocate(size_t count)
    {
        void* block = KV_ALLOC(count, sizeof(T));
        if (!block)
            throw std::bad_alloc();
        return static_cast<T*>(block);
    }
    void deallocate(T* block, size_t) noexcept { KV_FREE(block); }

    template <class U>
    bool operator==(const TrackedAllocator<U>&) const noexcept { return true; }
};

template <class T>
using TrackedVector = std::vector<T, TrackedAllocator<T>>;

}  // namespace kvdrw::native
