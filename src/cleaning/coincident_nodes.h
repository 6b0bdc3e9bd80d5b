#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <span>
#include <vector>

#include <kz3/lattiq/element_type.h>

#include "cleaning/representatives.h"
#include "core/column.h"

namespace kz3::lattiq::detail {

/// Finds nodes with equal coordinates by hashing. Zeros of either sign are equal, and what is not a
/// number equals nothing.
///
/// The table grows with the number of distinct nodes, so that a soup of elements, where each node
/// occurs many times, keeps it in the cache.
template <unsigned Dim>
class coincident_nodes {
public:
    explicit coincident_nodes(const dense2D<double>& pos) : pos_(pos) {}

    /// Lets the first node of each place absorb the others; the nodes are distinct and stand. Returns
    /// those that still do, in their order, without those that are nowhere.
    std::vector<unsigned> absorb(std::span<const unsigned> nodes, representatives& map)
    {
        std::vector<unsigned> left;
        for (size_t done = 0; done < nodes.size(); done += block_size) {
            const size_t n = std::min(block_size, nodes.size() - done);
            look_up(nodes.subspan(done, n));
            for (size_t i = 0; i < n; ++i) {
                if (!looked_[i].somewhere) continue;
                const unsigned node = nodes[done + i];
                const unsigned first = looked_[i].found ? looked_[i].first.node : place(node, i);
                if (first == node)
                    left.push_back(node);
                else
                    map.absorb_standing(first, node);
            }
        }
        return left;
    }

private:
    using point = std::array<double, Dim>;

    struct slot {
        std::uint32_t hash = 0;
        unsigned node = NO_NODE; // free
    };

    struct look {
        point at;
        std::uint32_t hash;
        slot first;
        bool somewhere;
        bool found;
    };

    static constexpr size_t block_size = 64;

    static std::uint32_t hash_of(const point& at)
    {
        std::uint64_t hash = 0;
        for (const double x : at) {
            const auto bits = std::bit_cast<std::uint64_t>(x + 0.0); // -0 becomes 0
            hash = (hash ^ bits) * 0x9E3779B97F4A7C15;
            hash ^= hash >> 32;
        }
        return std::uint32_t(hash * 0xD6E8FEB86659FD93 >> 32);
    }

    // The first slot that is free or has this hash.
    size_t find(std::uint32_t hash) const
    {
        const size_t mask = slots_.size() - 1;
        size_t s = hash & mask;
        while (slots_[s].node != NO_NODE && slots_[s].hash != hash) s = (s + 1) & mask;
        return s;
    }

    bool is_at(unsigned node, const point& at) const
    {
        return std::equal(at.begin(), at.end(), column(pos_, node));
    }

    // Each loop touches memory all over, but its steps do not wait for each other, as those of a
    // search for one node do.
    void look_up(std::span<const unsigned> nodes)
    {
        for (size_t i = 0; i < nodes.size(); ++i) {
            look& l = looked_[i];
            std::copy_n(column(pos_, nodes[i]), Dim, l.at.begin());
            l.hash = hash_of(l.at);
            l.somewhere = l.at == l.at;
        }
        for (size_t i = 0; i < nodes.size(); ++i) looked_[i].first = slots_[find(looked_[i].hash)];
        for (size_t i = 0; i < nodes.size(); ++i) {
            look& l = looked_[i];
            l.found =
                l.first.node != NO_NODE && l.first.hash == l.hash && is_at(l.first.node, l.at);
        }
    }

    // The node that stands at the place of the i-th of the block: the given one if there is none yet.
    unsigned place(unsigned node, size_t i)
    {
        const look& l = looked_[i];
        const size_t mask = slots_.size() - 1;
        size_t s = find(l.hash);
        for (; slots_[s].node != NO_NODE; s = (s + 1) & mask)
            if (slots_[s].hash == l.hash && is_at(slots_[s].node, l.at)) return slots_[s].node;
        slots_[s] = {l.hash, node};
        if (++used_ > slots_.size() / 2) grow();
        return node;
    }

    void grow()
    {
        std::vector<slot> old(slots_.size() * 2);
        old.swap(slots_);
        const size_t mask = slots_.size() - 1;
        for (const slot& from : old) {
            if (from.node == NO_NODE) continue;
            size_t s = from.hash & mask;
            while (slots_[s].node != NO_NODE) s = (s + 1) & mask;
            slots_[s] = from;
        }
    }

    const dense2D<double>& pos_;
    std::vector<slot> slots_ = std::vector<slot>(64);
    size_t used_ = 0;
    std::array<look, block_size> looked_;
};

} // namespace kz3::lattiq::detail
