// Tracked memory and the resource tracker: every block and every library
// object is counted while it lives, so a test (or a host) can prove that a
// run gave everything back. Leaves policy to the callers: a null from an
// allocation is theirs to turn into ERROR_NO_MEMORY.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

void* TrackedAlloc(size_t count, size_t elementSize, int line, const char* file);
void* TrackedAllocZero(size_t count, size_t elementSize, int line, const char* file);
// Contents are kept; on failure the old block stays valid and null comes back.
void* TrackedRealloc(void* block, size_t newSize, int line, const char* file);
void TrackedFree(void* block, int line, const char* file);

// The resource kind of every handler, engine and other object of this library.
constexpr uint32_t kResourceKindObject = 4;
void TrackResource(uint32_t kind, const void* object, int line, const char* file);
void UntrackResource(uint32_t kind, const void* object, int line, const char* file);

size_t TrackedLiveBlocks();
size_t TrackedLiveBytes();
size_t TrackedLiveResources();
// Lists up to `maximum` live blocks and resources with the place that made them.
std::string DescribeLiveTracked(size_t maximum);

// Fault injection for tests: the allocation after `successes` more successful
// ones fails, once. A negative value switches injection off.
void TrackedFailAllocationAfter(long successes);

#define KV_ALLOC(count, size) TrackedAlloc((count), (size), __LINE__, __FILE__)
#define KV_ALLOC_ZERO(count, size) TrackedAllocZero((count), (size), __LINE__, __FILE__)
#define KV_REALLOC(block, size) TrackedRealloc((block), (size), __LINE__, __FILE__)
#define KV_FREE(block) TrackedFree((block), __LINE__, __FILE__)
#define KV_TRACK(object) TrackResource(kResourceKindObject, (object), __LINE__, __FILE__)
#define KV_UNTRACK(object) UntrackResource(kResourceKindObject, (object), __LINE__, __FILE__)

// Owner of a tracked block; release() only where the block goes to a caller.
struct TrackedDeleter {
    void operator()(void* block) const { TrackedFree(block, __LINE__, __FILE__); }
};
template <class T>
using TrackedPtr = std::unique_ptr<T, TrackedDeleter>;
