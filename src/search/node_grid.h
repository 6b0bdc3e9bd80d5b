#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include "core/column.h"

namespace kz3::lattiq::detail {

/// Nodes sorted by the cubes of a regular grid, for searches within one and the same distance.
///
/// The cubes are numbered without bound and folded onto a table of about as many buckets as there are
/// nodes, so a bucket may hold nodes of several cubes. The number of a cube along an axis never
/// decreases with the coordinate, however the arithmetic rounds: all nodes between two values stand in
/// the cubes between those of the two values.
template <unsigned Dim>
class node_grid {
public:
    struct entry {
        unsigned node;
        unsigned rank; ///< position in the list given
    };

    /// @param nodes    none with a coordinate that is not a number
    /// @param largest  no coordinate of a node is above it in magnitude
    /// @param tol      the distance searched, above 0
    node_grid(const dense2D<double>& pos, std::span<const unsigned> nodes, double largest,
              double tol)
        : pos_(pos), largest_(largest), reach_(tol + (tol + largest) * 0x1p-50)
    {
        // A wide cube lets a search touch few of them, a narrow one keeps crowded ones small. The
        // factors are odd, since coordinates that are multiples of the edge would share few buckets.
        usable_ = count(nodes, 8.0901699) || count(nodes, 2.0225424);
        // Beyond the resolution of the largest coordinate the cubes could not get any narrower.
        usable_ = usable_ ||
                  (std::isfinite(inverse_edge_) && std::isfinite(2 * largest) && reach_ < 2 * tol);
        if (usable_) sort(nodes);
    }

    /// False where the arithmetic would overflow, or the nodes stand too close together for a
    /// distance so far below their coordinates: then nothing can be searched.
    bool usable() const { return usable_; }

    unsigned size() const { return unsigned(entries_.size()); }
    const entry& operator[](size_t i) const { return entries_[i]; }

    /// Calls visit(i) for entries that include all within the distance of p along every axis: those
    /// that the box p - tol to p + tol holds, and those whose own box holds p, both as rounded. For
    /// p, the place of a node of the grid, itself included; an entry may come twice.
    ///
    /// A bound of a box is off by the rounding of one sum, at most (tol + largest) * 2^-53; the reach
    /// of the search goes 8 times further.
    template <typename Visitor>
    void for_each_near(const double* p, Visitor visit) const
    {
        std::array<std::uint64_t, 3> low{};
        std::array<std::uint64_t, 3> high{};
        for (unsigned d = 0; d < Dim; ++d) {
            low[d] = cube(std::max(p[d] - reach_, -largest_));
            high[d] = cube(std::min(p[d] + reach_, largest_));
        }
        for (std::uint64_t z = low[2]; z <= high[2]; ++z)
            for (std::uint64_t y = low[1]; y <= high[1]; ++y)
                for (std::uint64_t x = low[0]; x <= high[0]; ++x) {
                    const size_t b = bucket({x, y, z});
                    for (unsigned i = starts_[b]; i < starts_[b + 1]; ++i) visit(i);
                }
    }

private:
    std::uint64_t cube(double x) const { return std::uint64_t((x + largest_) * inverse_edge_); }

    // Cubes next to each other along the first axis stand in adjacent buckets.
    size_t bucket(const std::array<std::uint64_t, 3>& at) const
    {
        return (at[0] + at[1] * 0x9E3779B97F4A7C15 + at[2] * 0xC2B2AE3D27D4EB4F) & mask_;
    }

    size_t bucket_of(unsigned node) const
    {
        const double* p = column(pos_, node);
        std::array<std::uint64_t, 3> at{};
        for (unsigned d = 0; d < Dim; ++d) at[d] = cube(p[d]);
        return bucket(at);
    }

    // Counts the nodes of the buckets. False where the numbers of the cubes could overflow, or
    // searches in buckets so full would take too long.
    bool count(std::span<const unsigned> nodes, double edge)
    {
        inverse_edge_ = 1 / (edge * reach_);
        if (!std::isfinite(inverse_edge_) || !std::isfinite(2 * largest_)) return false;
        mask_ = std::bit_ceil(nodes.size()) - 1;
        starts_.assign(mask_ + 2, 0);
        for (const unsigned node : nodes) ++starts_[bucket_of(node)];
        std::uint64_t compared = 0;
        for (const unsigned n : starts_) compared += std::uint64_t(n) * n;
        return compared / 32 <= nodes.size();
    }

    void sort(std::span<const unsigned> nodes)
    {
        entries_.resize(nodes.size());
        unsigned sum = 0;
        for (unsigned& start : starts_) start = sum += start;
        for (size_t k = nodes.size(); k-- > 0;)
            entries_[--starts_[bucket_of(nodes[k])]] = {nodes[k], unsigned(k)};
    }

    const dense2D<double>& pos_;
    double largest_;
    double reach_;
    double inverse_edge_ = 0;
    bool usable_ = false;
    size_t mask_ = 0;
    std::vector<unsigned> starts_; // of the buckets, and the end
    std::vector<entry> entries_;
};

} // namespace kz3::lattiq::detail
