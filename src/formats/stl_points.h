#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include <kz3/lattiq/element_type.h>

#include "core/prefetch.h"
#include "formats/stl_facet.h"

namespace kz3::lattiq::detail {

/// The places of the corners read so far, to find those that come again with the same bits: zeros of
/// different sign are different places here, and what is not finite has no place.
///
/// Only hashes stand in the table, so that it is small; the coordinates are those of the nodes.
///
/// Coordinates chosen so that their hashes meet would make it quadratic: exhausted() tells after more
/// steps than chance explains.
class stl_points {
public:
    static bool has_place(const stl_point& x)
    {
        return x[0] * 0 + x[1] * 0 + x[2] * 0 == 0; // not of infinities, nor what is not a number
    }

    static std::uint32_t hash_of(const stl_point& x)
    {
        constexpr std::uint64_t factors[] = {0x9E3779B97F4A7C15, 0xC2B2AE3D27D4EB4F,
                                             0xD6E8FEB86659FD93};
        std::uint64_t hash = 0;
        for (std::size_t d = 0; d < 3; ++d) {
            const auto bits = std::bit_cast<std::uint64_t>(x[d]);
            hash += (bits ^ bits >> 32) * factors[d];
        }
        return std::uint32_t((hash ^ hash >> 32) * factors[0] >> 32);
    }

    /// Makes room for so many more places; false where memory is exhausted.
    bool make_room(std::size_t places)
    {
        std::size_t wanted = std::max<std::size_t>(size(), 1024);
        while ((used_ + places) * 3 > wanted * 2) wanted *= 2;
        return wanted == size() || grow(wanted);
    }

    /// Asks ahead for what guess() will read.
    void look_up(std::uint32_t hash) const { prefetch(&slots_[hash & mask_]); }

    /// The first node with this hash, or NO_NODE.
    unsigned guess(std::uint32_t hash)
    {
        std::size_t s = hash & mask_;
        for (; slots_[s].node != NO_NODE && slots_[s].hash != hash; s = (s + 1) & mask_) ++steps_;
        return slots_[s].node;
    }

    /// The node at x, which has a place: `next` where none was there, which it is from now on. Each
    /// node has three coordinates in `nodes`.
    unsigned find(const stl_point& x, std::uint32_t hash, unsigned next, const double* nodes)
    {
        std::size_t s = hash & mask_;
        for (; slots_[s].node != NO_NODE; s = (s + 1) & mask_, ++steps_)
            if (slots_[s].hash == hash && same(nodes + std::size_t(3) * slots_[s].node, x))
                return slots_[s].node;
        slots_[s] = {hash, next};
        ++used_;
        return next;
    }

    static bool same(const double* p, const stl_point& x)
    {
        std::uint64_t differing = 0;
        for (std::size_t d = 0; d < 3; ++d)
            differing |= std::bit_cast<std::uint64_t>(p[d]) ^ std::bit_cast<std::uint64_t>(x[d]);
        return differing == 0;
    }

    /// Whether searches have become too long, after so many of them.
    bool exhausted(std::size_t searches) const { return steps_ > 16 * searches + 1024; }

private:
    struct slot {
        std::uint32_t hash;
        unsigned node = NO_NODE; // free
    };

    std::size_t size() const { return slots_ ? mask_ + 1 : 0; }

    bool grow(std::size_t size)
    {
        const std::size_t old_size = this->size();
        std::unique_ptr<slot[]> old(new (std::nothrow) slot[size]);
        if (!old) return false;
        old.swap(slots_);
        mask_ = size - 1;
        for (std::size_t i = 0; i < old_size; ++i) {
            if (old[i].node == NO_NODE) continue;
            std::size_t s = old[i].hash & mask_;
            for (; slots_[s].node != NO_NODE; s = (s + 1) & mask_) ++steps_;
            slots_[s] = old[i];
        }
        return true;
    }

    std::unique_ptr<slot[]> slots_;
    std::size_t mask_ = 0;
    std::size_t used_ = 0;
    std::size_t steps_ = 0; // past slots of others
};

} // namespace kz3::lattiq::detail
