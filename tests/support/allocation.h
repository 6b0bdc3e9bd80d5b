#pragma once

#include <cstddef>

/// Every test program replaces __vector_num_alloc and __vector_num_free, and operator new, by
/// versions that count and, when told to, fail or return odd alignments. Not for use from threads
/// while armed.
namespace allocation {

/// Blocks of the containers' allocator not yet freed.
std::size_t live_blocks();

/// Calls of the containers' allocator since the program started.
std::size_t calls();

/// Makes calls of the containers' allocator fail while it lives: the n-th from now on, counted from
/// 1, and with `onwards` all after it too.
class fail_containers {
public:
    explicit fail_containers(std::size_t n, bool onwards = false);
    ~fail_containers();
    fail_containers(const fail_containers&) = delete;
    fail_containers& operator=(const fail_containers&) = delete;

    /// Whether a call was refused so far.
    bool fired() const;
};

/// The same for operator new, which throws std::bad_alloc (or returns null in its nothrow form).
class fail_new {
public:
    explicit fail_new(std::size_t n, bool onwards = false);
    ~fail_new();
    fail_new(const fail_new&) = delete;
    fail_new& operator=(const fail_new&) = delete;

    bool fired() const;
};

/// Makes the containers' allocator return blocks `bytes` past an 8-byte boundary while it lives.
class misalign {
public:
    explicit misalign(std::size_t bytes);
    ~misalign();
    misalign(const misalign&) = delete;
    misalign& operator=(const misalign&) = delete;
};

/// Bytes asked for by the last call of the containers' allocator.
std::size_t last_request();

/// Runs body(n) with the n-th allocation refused, for n = 1, 2, ... until a run needs fewer than n.
/// Breaker is fail_containers or fail_new. Returns the number of runs in which one was refused.
template <typename Breaker, typename Body>
std::size_t sweep(Body body, bool onwards = false)
{
    for (std::size_t n = 1;; ++n) {
        bool fired = false;
        body(n, [&](auto&& call) {
            const Breaker breaker(n, onwards);
            struct at_end {
                const Breaker& breaker;
                bool& fired;
                ~at_end() { fired = breaker.fired(); }
            } const note{breaker, fired};
            return call();
        });
        if (!fired) return n - 1;
    }
}

} // namespace allocation
