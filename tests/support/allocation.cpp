#include "support/allocation.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include <kz3/vector_num.h>

namespace {

struct gate {
    std::atomic<std::size_t> countdown{0}; // 0: open
    std::atomic<bool> onwards{false};
    std::atomic<bool> fired{false};

    void arm(std::size_t n, bool all)
    {
        fired = false;
        onwards = all;
        countdown = n;
    }

    bool refuses()
    {
        std::size_t left = countdown;
        if (left == 0) return false;
        if (left == 1) {
            if (!onwards) countdown = 0;
            fired = true;
            return true;
        }
        countdown = left - 1;
        return false;
    }
};

gate containers;
gate standard;
std::atomic<std::size_t> live{0};
std::atomic<std::size_t> asked{0};
std::atomic<std::size_t> latest{0};
std::atomic<std::size_t> shift{0};

// The block handed out stands `shift` bytes behind the 16 that remember where it began.
constexpr std::size_t head = 16;

void* allocate(std::size_t bytes)
{
    return standard.refuses() ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
}

void* allocate_or_throw(std::size_t bytes)
{
    void* block = allocate(bytes);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

} // namespace

namespace kz3 {

char* __vector_num_alloc(std::size_t bytes)
{
    ++asked;
    latest = bytes;
    if (containers.refuses()) return nullptr;
    const std::size_t by = shift;
    if (bytes > static_cast<std::size_t>(-1) / 2) return nullptr;
    auto* raw = static_cast<char*>(std::malloc(bytes + head + by));
    if (raw == nullptr) return nullptr;
    ++live;
    raw[head + by - 1] = static_cast<char>(head + by);
    return raw + head + by;
}

void __vector_num_free(char* block)
{
    if (block == nullptr) return;
    --live;
    std::free(block - static_cast<unsigned char>(block[-1]));
}

} // namespace kz3

void* operator new(std::size_t bytes)
{
    return allocate_or_throw(bytes);
}
void* operator new[](std::size_t bytes)
{
    return allocate_or_throw(bytes);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept
{
    return allocate(bytes);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept
{
    return allocate(bytes);
}
void operator delete(void* block) noexcept
{
    std::free(block);
}
void operator delete[](void* block) noexcept
{
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept
{
    std::free(block);
}

namespace allocation {

std::size_t live_blocks()
{
    return live;
}
std::size_t calls()
{
    return asked;
}
std::size_t last_request()
{
    return latest;
}

fail_containers::fail_containers(std::size_t n, bool onwards)
{
    containers.arm(n, onwards);
}
fail_containers::~fail_containers()
{
    containers.countdown = 0;
}
bool fail_containers::fired() const
{
    return containers.fired;
}

fail_new::fail_new(std::size_t n, bool onwards)
{
    standard.arm(n, onwards);
}
fail_new::~fail_new()
{
    standard.countdown = 0;
}
bool fail_new::fired() const
{
    return standard.fired;
}

misalign::misalign(std::size_t bytes)
{
    shift = bytes;
}
misalign::~misalign()
{
    shift = 0;
}

} // namespace allocation
