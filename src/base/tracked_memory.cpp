#include "base/tracked_memory.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <unordered_map>

namespace {

// Each block carries its bookkeeping in front of it. The header is a multiple
// of 16 bytes so the caller's part keeps malloc's alignment.
struct alignas(16) BlockHeader {
    BlockHeader* previous;
    BlockHeader* next;
    size_t size;
    const char* file;
    int line;
    uint32_t magic;
};
static_assert(sizeof(BlockHeader) % 16 == 0);

constexpr uint32_t kLiveMagic = 0x4B564D42u;   // "KVMB"
constexpr uint32_t kFreedMagic = 0x46524545u;  // "FREE"

struct ResourceEntry {
    uint32_t kind;
    int line;
    const char* file;
};

struct Registry {
    std::mutex lock;
    BlockHeader head{&head, &head, 0, nullptr, 0, 0};
    size_t liveBlocks = 0;
    size_t liveBytes = 0;
    std::unordered_map<const void*, ResourceEntry> resources;
};

Registry& registry()
{
    // Never destroyed: blocks may still be freed from static destructors.
    static Registry* instance = new Registry;
    return *instance;
}

std::atomic<long> failCountdown{-1};

bool ShouldFailInjected()
{
    long current = failCountdown.load(std::memory_order_relaxed);
    while (current >= 0) {
        if (failCountdown.compare_exchange_weak(current, current - 1))
            return current == 0;
    }
    return false;
}

void Link(BlockHeader* header)
{
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    header->next = r.head.next;
    header->previous = &r.head;
    r.head.next->previous = header;
    r.head.next = header;
    ++r.liveBlocks;
    r.liveBytes += header->size;
}

void Unlink(BlockHeader* header)
{
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    header->previous->next = header->next;
    header->next->previous = header->previous;
    --r.liveBlocks;
    r.liveBytes -= header->size;
}

void* AllocateBlock(size_t bytes, bool zero, int line, const char* file)
{
    if (bytes > SIZE_MAX - sizeof(BlockHeader) || ShouldFailInjected())
        return nullptr;
    void* raw = zero ? std::calloc(1, sizeof(BlockHeader) + bytes) : std::malloc(sizeof(BlockHeader) + bytes);
    if (!raw)
        return nullptr;
    auto* header = static_cast<BlockHeader*>(raw);
    header->size = bytes;
    header->file = file;
    header->line = line;
    header->magic = kLiveMagic;
    Link(header);
    return header + 1;
}

BlockHeader* HeaderOf(void* block)
{
    auto* header = static_cast<BlockHeader*>(block) - 1;
    if (header->magic != kLiveMagic) {
        // Freeing a foreign or already freed block is a caller fault that
        // would corrupt the heap later; stop here where it can be found.
        std::fprintf(stderr, "kvsvg: TrackedFree of an untracked block %p\n", block);
        std::abort();
    }
    return header;
}

}  // namespace

void* TrackedAlloc(size_t count, size_t elementSize, int line, const char* file)
{
    if (elementSize && count > SIZE_MAX / elementSize)
        return nullptr;
    return AllocateBlock(count * elementSize, false, line, file);
}

void* TrackedAllocZero(size_t count, size_t elementSize, int line, const char* file)
{
    if (elementSize && count > SIZE_MAX / elementSize)
        return nullptr;
    return AllocateBlock(count * elementSize, true, line, file);
}

void* TrackedRealloc(void* block, size_t newSize, int line, const char* file)
{
    if (!block)
        return AllocateBlock(newSize, false, line, file);
    if (newSize > SIZE_MAX - sizeof(BlockHeader) || ShouldFailInjected())
        return nullptr;
    BlockHeader* header = HeaderOf(block);
    Unlink(header);
    void* raw = std::realloc(header, sizeof(BlockHeader) + newSize);
    if (!raw) {
        Link(header);
        return nullptr;
    }
    header = static_cast<BlockHeader*>(raw);
    header->size = newSize;
    header->file = file;
    header->line = line;
    Link(header);
    return header + 1;
}

void TrackedFree(void* block, int, const char*)
{
    if (!block)
        return;
    BlockHeader* header = HeaderOf(block);
    Unlink(header);
    header->magic = kFreedMagic;
    std::free(header);
}

void TrackResource(uint32_t kind, const void* object, int line, const char* file)
{
    if (!object)
        return;
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    try {
        r.resources[object] = ResourceEntry{kind, line, file};
    } catch (...) {
        // Accounting is best effort under memory pressure; the object itself
        // is already made and owned by its caller.
    }
}

void UntrackResource(uint32_t, const void* object, int, const char*)
{
    if (!object)
        return;
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    r.resources.erase(object);
}

size_t TrackedLiveBlocks()
{
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    return r.liveBlocks;
}

size_t TrackedLiveBytes()
{
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    return r.liveBytes;
}

size_t TrackedLiveResources()
{
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    return r.resources.size();
}

std::string DescribeLiveTracked(size_t maximum)
{
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    std::string text;
    char line[512];
    size_t listed = 0;
    for (BlockHeader* h = r.head.next; h != &r.head && listed < maximum; h = h->next, ++listed) {
        std::snprintf(line, sizeof line, "block of %zu bytes from %s:%d\n", h->size, h->file ? h->file : "?", h->line);
        text += line;
    }
    for (const auto& [object, entry] : r.resources) {
        if (listed++ >= maximum)
            break;
        std::snprintf(line, sizeof line, "resource %p (kind %u) from %s:%d\n", object, entry.kind,
                      entry.file ? entry.file : "?", entry.line);
        text += line;
    }
    return text;
}

void TrackedFailAllocationAfter(long successes)
{
    failCountdown.store(successes < 0 ? -1 : successes);
}
