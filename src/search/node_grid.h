#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <span>
#include <vector>

#include "core/column.h"
#include "search/node_places.h"

namespace kz3::lattiq::detail {

/// Nodes sorted by the cubes of a regular grid, for searches within one and the same distance.
///
/// The cubes are numbered without bound and folded onto a table of fewer buckets than there are nodes,
/// so a bucket may hold nodes of several cubes. The number of a cube along an axis never decreases
/// with the coordinate, however the arithmetic rounds: all nodes between two values stand in the cubes
/// between those of the two values.
template <unsigned Dim>
class node_grid {
public:
    struct entry {
        unsigned node;
        unsigned rank; ///< position in the list given
    };

    /// @param nodes  none with a coordinate that is not a number; must outlive the grid
    /// @param tol    the distance searched, above 0
    node_grid(const dense2D<double>& pos, std::span<const unsigned> nodes, double tol)
        : places_(pos),
          nodes_(nodes),
          largest_(largest_coordinate()),
          reach_(tol + (tol + largest_) * 0x1p-50)
    {
        if (!std::isfinite(2 * largest_) || !std::isfinite(1 / reach_)) return;
        for (const double edge : edges)
            if (!usable() && fill(edge)) sort();
        crowded_ = !usable() && reach_ < 2 * tol;
    }

    /// False where the nodes are crowded, or their coordinates too far above the distance: then nothing
    /// can be searched.
    bool usable() const { return !entries_.empty(); }

    /// Whether the nodes are too many for the buckets that they fall into. Most of those in a bucket
    /// are neighbours then, or the coordinates are such that far apart cubes share buckets.
    bool crowded() const { return crowded_; }

    /// Gives every cube a bucket of its own, which is then found by a binary search: for crowded nodes.
    void separate_cubes()
    {
        std::vector<cube> at(nodes_.size());
        for (size_t k = 0; k < at.size(); ++k) at[k] = cube_of(places_[nodes_[k]]);
        cubes_ = at;
        std::sort(cubes_.begin(), cubes_.end());
        cubes_.erase(std::unique(cubes_.begin(), cubes_.end()), cubes_.end());
        starts_.assign(cubes_.size() + 2, 0);
        bucket_of_.resize(nodes_.size());
        for (size_t k = 0; k < at.size(); ++k) ++starts_[bucket_of_[k] = unsigned(bucket(at[k]))];
        sort();
        crowded_ = false;
    }

    unsigned size() const { return unsigned(entries_.size()); }
    const entry& operator[](size_t i) const { return entries_[i]; }

    unsigned buckets() const { return unsigned(starts_.size() - 1); }

    /// The first entry of a bucket; the last of all buckets is followed by an end.
    unsigned start(size_t b) const { return starts_[b]; }

    /// What rounding may add to the distance searched: a bound of a box p - tol to p + tol is off by
    /// the rounding of one sum, at most (tol + largest) * 2^-53, and the margin is 8 times that.
    double margin() const { return (reach_ + largest_) * 0x1p-50; }

    /// Whether all that for_each_near visits for p stands in the bucket of p.
    bool stays_in_bucket(const double* p) const
    {
        const auto [low, high] = cubes_near(p);
        return low == high;
    }

    /// Calls visit(first, last) for runs of entries that include all within the distance of p along
    /// every axis: those that the box p - tol to p + tol holds, and those whose own box holds p, both
    /// as rounded. For p, the place of a node of the grid, its own bucket included; a bucket may come
    /// twice.
    template <typename Visitor>
    void for_each_near(const double* p, Visitor visit) const
    {
        const auto [low, high] = cubes_near(p);
        cube at = low;
        for (at[2] = low[2]; at[2] <= high[2]; ++at[2])
            for (at[1] = low[1]; at[1] <= high[1]; ++at[1])
                for (at[0] = low[0]; at[0] <= high[0]; ++at[0]) {
                    const size_t b = bucket(at);
                    visit(starts_[b], starts_[b + 1]);
                }
    }

private:
    using cube =
        std::array<std::int64_t, 3>; // numbers along the axes, 0 along an axis that is none

    struct cubes {
        cube low;
        cube high;
    };

    // Edges of a cube to try, in reaches of a search. A wide cube lets most searches stay in one, a
    // narrow one keeps crowded ones small. They are odd, since coordinates that are multiples of the
    // edge would share few buckets.
    static constexpr double edges[] = {32.3606797, 8.0901699, 2.0225424};

    // What is not a number does not count.
    double largest_coordinate() const
    {
        std::array<double, Dim> largest{};
        for (const unsigned node : nodes_) {
            const double* p = places_[node];
            for (unsigned d = 0; d < Dim; ++d) largest[d] = std::max(largest[d], std::abs(p[d]));
        }
        return *std::max_element(largest.begin(), largest.end());
    }

    std::int64_t number(double x) const { return std::int64_t((x + largest_) * inverse_edge_); }

    cube cube_of(const double* p) const
    {
        cube at{};
        for (unsigned d = 0; d < Dim; ++d) at[d] = number(p[d]);
        return at;
    }

    cubes cubes_near(const double* p) const
    {
        cubes near{};
        for (unsigned d = 0; d < Dim; ++d) {
            near.low[d] = number(std::max(p[d] - reach_, -largest_));
            near.high[d] = number(std::min(p[d] + reach_, largest_));
        }
        return near;
    }

    // Cubes next to each other along the first axis stand in adjacent buckets. Where each cube with
    // nodes has a bucket, one without gets that of the next, or an empty one behind the last.
    size_t bucket(const cube& at) const
    {
        if (!cubes_.empty())
            return size_t(std::lower_bound(cubes_.begin(), cubes_.end(), at) - cubes_.begin());
        return (std::uint64_t(at[0]) + std::uint64_t(at[1]) * 0x9E3779B97F4A7C15 +
                std::uint64_t(at[2]) * 0xC2B2AE3D27D4EB4F) &
               mask_;
    }

    // Counts the nodes of the buckets. False where searches in buckets so full would take too long.
    bool fill(double edge)
    {
        inverse_edge_ = 1 / (edge * reach_);
        mask_ = std::max<size_t>(std::bit_ceil(nodes_.size()) / 4, 1) - 1;
        starts_.assign(mask_ + 2, 0);
        bucket_of_.resize(nodes_.size());
        for (size_t k = 0; k < nodes_.size(); ++k) {
            const size_t b = bucket(cube_of(places_[nodes_[k]]));
            bucket_of_[k] = unsigned(b);
            ++starts_[b];
        }
        std::uint64_t compared = 0;
        for (const unsigned n : starts_) compared += std::uint64_t(n) * n;
        return compared / 16 <= nodes_.size() &&
               *std::max_element(starts_.begin(), starts_.end()) <= 1024;
    }

    void sort()
    {
        entries_.resize(nodes_.size());
        std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
        for (size_t k = nodes_.size(); k-- > 0;)
            entries_[--starts_[bucket_of_[k]]] = {nodes_[k], unsigned(k)};
        bucket_of_ = {};
    }

    node_places places_;
    std::span<const unsigned> nodes_;
    double largest_;
    double reach_;
    double inverse_edge_ = 0;
    bool crowded_ = false;
    size_t mask_ = 0;
    std::vector<cube> cubes_;         // in order, where each has a bucket
    std::vector<unsigned> bucket_of_; // by rank
    std::vector<unsigned> starts_;    // of the buckets, and the end
    std::vector<entry> entries_;
};

} // namespace kz3::lattiq::detail
