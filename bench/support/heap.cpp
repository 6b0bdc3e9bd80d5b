// Counts the heap of the whole program, peers included: malloc and its kin are replaced by ones that
// add up the sizes of live blocks and hand on to the C library's own.

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include <malloc.h>

#include "support/bench.h"

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace {

std::atomic<std::size_t> live{0};
std::atomic<std::size_t> peak{0};

void* count(void* block)
{
    if (block) {
        const std::size_t size = malloc_usable_size(block);
        const std::size_t now = live.fetch_add(size, std::memory_order_relaxed) + size;
        if (now > peak.load(std::memory_order_relaxed)) peak.store(now, std::memory_order_relaxed);
    }
    return block;
}

void forget(void* block)
{
    if (block) live.fetch_sub(malloc_usable_size(block), std::memory_order_relaxed);
}

} // namespace

extern "C" {

void* malloc(std::size_t size)
{
    return count(__libc_malloc(size));
}
void* calloc(std::size_t n, std::size_t size)
{
    return count(__libc_calloc(n, size));
}
void* memalign(std::size_t alignment, std::size_t size)
{
    return count(__libc_memalign(alignment, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return count(__libc_memalign(alignment, size));
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size)
{
    void* const found = count(__libc_memalign(alignment, size));
    if (!found) return ENOMEM;
    *block = found;
    return 0;
}
void free(void* block)
{
    forget(block);
    __libc_free(block);
}
void* realloc(void* block, std::size_t size)
{
    const std::size_t old = block ? malloc_usable_size(block) : 0;
    void* const moved = __libc_realloc(block, size);
    if (moved || size == 0) live.fetch_sub(old, std::memory_order_relaxed);
    return count(moved);
}

} // extern "C"

namespace bench {

std::size_t heap_bytes()
{
    return live.load(std::memory_order_relaxed);
}
std::size_t heap_peak()
{
    return peak.load(std::memory_order_relaxed);
}
void reset_peak()
{
    peak.store(live.load(std::memory_order_relaxed), std::memory_order_relaxed);
}

} // namespace bench
