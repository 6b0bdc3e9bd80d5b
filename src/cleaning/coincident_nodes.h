#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include <kz3/lattiq/element_type.h>

#include "cleaning/representatives.h"
#include "core/prefetch.h"
#include "search/node_places.h"

namespace kz3::lattiq::detail {

/// Finds nodes with equal coordinates and lets the first of each place in the list absorb the others.
/// Zeros of either sign are equal. Nodes with a coordinate that is infinite are left alone.
///
/// By hashing, in time linear in the nodes. Coordinates chosen so that their hashes meet would make
/// it quadratic: after more steps than chance explains, sorting takes over.
template <unsigned Dim>
class coincident_nodes {
public:
    coincident_nodes(const dense2D<double>& pos, representatives& map) : places_(pos), map_(map) {}

    /// The nodes are distinct and stand. Those that still do move to the front, in their order and
    /// without those that are nowhere; returns them.
    std::span<unsigned> absorb(std::span<unsigned> nodes) { return run(nodes, nodes.size()); }

    /// The same as far as it pays: the rest is left as it is where the first nodes hardly coincide.
    std::span<unsigned> absorb_if_many(std::span<unsigned> nodes)
    {
        return run(nodes, nodes.size() / 8);
    }

    /// Whether the nodes returned last can still coincide.
    bool gave_up() const { return gave_up_; }

    /// Whether some of them are infinitely far away; tells nothing after giving up.
    bool any_infinite() const { return any_infinite_; }

private:
    struct slot {
        std::uint32_t hash = 0;
        unsigned node = NO_NODE; // free
    };

    static constexpr size_t block_size = 64;

    std::span<unsigned> run(std::span<unsigned> nodes, size_t trial)
    {
        slots_.assign(std::bit_ceil(std::max(nodes.size() / 2, block_size)), slot{});
        used_ = steps_ = kept_ = 0;
        gave_up_ = any_infinite_ = false;
        for (size_t done = 0; done < nodes.size(); done += block_size) {
            if (steps_ > 8 * nodes.size()) {
                keep_rest(nodes, done);
                sort_and_absorb(nodes.first(kept_));
                break;
            }
            if (done >= trial && used_ > done - done / 32) {
                keep_rest(nodes, done);
                gave_up_ = true;
                break;
            }
            absorb_block(nodes, done);
        }
        slots_ = {};
        return nodes.first(kept_);
    }

    void absorb_block(std::span<unsigned> nodes, size_t done)
    {
        const size_t n = std::min(block_size, nodes.size() - done);
        look_up(nodes.data() + done, n);
        for (size_t i = 0; i < n; ++i) {
            const unsigned node = nodes[done + i];
            const double* p = places_[node];
            unsigned first = first_[i];
            if (first == NO_NODE || !equal(places_[first], p)) first = place(node, p, hashes_[i]);
            if (first == NO_NODE) continue;
            if (first == node)
                nodes[kept_++] = node;
            else
                map_.absorb_standing(first, node);
        }
    }

    // Each loop touches memory all over, but its steps do not wait for each other, as those of a
    // search for one node do.
    void look_up(const unsigned* node, size_t n)
    {
        const size_t mask = slots_.size() - 1;
        for (size_t i = 0; i < n; ++i) {
            hashes_[i] = hash_of(places_[node[i]]);
            prefetch(&slots_[hashes_[i] & mask]);
        }
        for (size_t i = 0; i < n; ++i) {
            first_[i] = slots_[find(hashes_[i])].node;
            if (first_[i] != NO_NODE) prefetch(places_[first_[i]]);
        }
    }

    // The bits that tell coordinates apart may all be leading ones, which a product alone would not
    // bring down.
    static std::uint32_t hash_of(const double* p)
    {
        constexpr std::uint64_t factors[] = {0x9E3779B97F4A7C15, 0xC2B2AE3D27D4EB4F,
                                             0xD6E8FEB86659FD93};
        std::uint64_t hash = 0;
        for (unsigned d = 0; d < Dim; ++d) {
            const auto bits = std::bit_cast<std::uint64_t>(p[d] + 0.0); // -0 becomes 0
            hash += (bits ^ bits >> 32) * factors[d];
        }
        return std::uint32_t((hash ^ hash >> 32) * factors[0] >> 32);
    }

    static bool equal(const double* p, const double* q)
    {
        bool same = true;
        for (unsigned d = 0; d < Dim; ++d) same &= p[d] == q[d];
        return same;
    }

    static bool is_finite(const double* p)
    {
        bool finite = true;
        for (unsigned d = 0; d < Dim; ++d) finite &= std::isfinite(p[d]);
        return finite;
    }

    // The first slot that is free or has this hash.
    size_t find(std::uint32_t hash)
    {
        const size_t mask = slots_.size() - 1;
        size_t s = hash & mask;
        for (; slots_[s].node != NO_NODE && slots_[s].hash != hash; s = (s + 1) & mask) ++steps_;
        return s;
    }

    // The node that stands at the place p: the given one if there is none yet, and NO_NODE for what is
    // nowhere.
    unsigned place(unsigned node, const double* p, std::uint32_t hash)
    {
        if (!is_finite(p)) {
            if (!equal(p, p)) return NO_NODE;
            any_infinite_ = true;
            return node;
        }
        const size_t mask = slots_.size() - 1;
        size_t s = find(hash);
        for (; slots_[s].node != NO_NODE; s = (s + 1) & mask, ++steps_)
            if (slots_[s].hash == hash && equal(places_[slots_[s].node], p)) return slots_[s].node;
        slots_[s] = {hash, node};
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
            for (; slots_[s].node != NO_NODE; s = (s + 1) & mask) ++steps_;
            slots_[s] = from;
        }
    }

    void keep_rest(std::span<unsigned> nodes, size_t done)
    {
        for (const unsigned node : nodes.subspan(done))
            if (equal(places_[node], places_[node])) nodes[kept_++] = node;
    }

    void sort_and_absorb(std::span<unsigned> nodes)
    {
        std::vector<unsigned> order; // positions in the list
        for (unsigned k = 0; k < nodes.size(); ++k)
            if (is_finite(places_[nodes[k]]))
                order.push_back(k);
            else
                any_infinite_ = true;
        std::sort(order.begin(), order.end(), [&](unsigned j, unsigned k) {
            const double* p = places_[nodes[j]];
            const double* q = places_[nodes[k]];
            for (unsigned d = 0; d < Dim; ++d)
                if (p[d] != q[d]) return p[d] < q[d];
            return j < k;
        });
        size_t first = 0;
        for (size_t i = 1; i < order.size(); ++i) {
            const unsigned node = nodes[order[i]];
            if (equal(places_[nodes[order[first]]], places_[node]))
                map_.absorb_standing(nodes[order[first]], node);
            else
                first = i;
        }
        kept_ = 0;
        for (const unsigned node : nodes)
            if (map_.stands(node)) nodes[kept_++] = node;
    }

    node_places places_;
    representatives& map_;
    std::vector<slot> slots_;
    size_t used_ = 0;
    size_t steps_ = 0; // past slots of others
    size_t kept_ = 0;
    bool gave_up_ = false;
    bool any_infinite_ = false;
    std::array<std::uint32_t, block_size> hashes_;
    std::array<unsigned, block_size> first_;
};

} // namespace kz3::lattiq::detail
