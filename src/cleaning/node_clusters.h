#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <span>
#include <vector>

#include "cleaning/merge_distance.h"
#include "cleaning/representatives.h"
#include "search/node_grid.h"

namespace kz3::lattiq::detail {

/// Merges the nodes of one list cluster by cluster: what can be reached from one node by steps within
/// the tolerance. No pair joins two clusters, so that the pairs of each can be sorted and applied by
/// themselves, and never more of them are held than one cluster has.
///
/// The result is that of all pairs (keeper, merged) of the list, sorted by distance and, where that is
/// the same, by the place of the keeper in the list:
/// - Pairs of one keeper and one distance can be applied in any order, since none decides whether
///   another is.
/// - After the pair (a, b) one of the two no longer stands, if both did before. So where a comes first
///   in the list and finds b, the pair (b, a), which sorts behind (a, b), has no effect and is left
///   out. It counts where a does not find b, which rounding of the box brings about.
/// - For the same reason a pair that is found twice counts once.
template <unsigned Dim>
class node_clusters {
public:
    node_clusters(const dense2D<double>& pos, const node_grid<Dim>& grid, double tol,
                  representatives& map)
        : pos_(pos), grid_(grid), tol_(tol), map_(map), met_(grid.size())
    {
    }

    void merge()
    {
        for (unsigned i = 0; i < grid_.size(); ++i) {
            if (i % block_size == 0) load(i);
            if (met_[i] != 0) continue;
            gather(i);
            apply();
        }
    }

private:
    struct pair {
        std::uint64_t key; // the float of the distance, then the rank of the keeper
        unsigned keeper;
        unsigned merged;
    };

    static constexpr unsigned block_size = 64;

    // Fetches the places of the next seeds, which stand all over the coordinates, by loads that do
    // not wait for each other. Near nodes are in the cache from then on.
    void load(unsigned first)
    {
        const unsigned n = std::min(block_size, grid_.size() - first);
        for (unsigned k = 0; k < n; ++k)
            std::copy_n(column(pos_, grid_[first + k].node), Dim, seeds_[k].begin());
    }

    void gather(unsigned seed)
    {
        members_.clear();
        meet(seed);
        look_around(seed, seeds_[seed % block_size].data());
        for (size_t k = 1; k < members_.size(); ++k)
            look_around(members_[k], column(pos_, grid_[members_[k]].node));
    }

    void meet(unsigned i)
    {
        met_[i] = 1;
        members_.push_back(i);
    }

    void look_around(unsigned i, const double* p)
    {
        grid_.for_each_near(p, [&](unsigned j) {
            if (i == j) return;
            const double* q = column(pos_, grid_[j].node);
            const double between = distance<Dim>(p, q);
            if (between > tol_) return;
            if (met_[j] == 0) meet(j);
            if (grid_[i].rank > grid_[j].rank) return; // j finds the pair
            if (merge_box<Dim>(p, tol_).contains(q))
                add(between, grid_[i], grid_[j]);
            else if (merge_box<Dim>(q, tol_).contains(p))
                add(between, grid_[j], grid_[i]);
        });
    }

    // Compared as a double, sorted as a float; the bits of floats that are not negative sort as they
    // do.
    void add(double distance, const typename node_grid<Dim>::entry& keeper,
             const typename node_grid<Dim>::entry& merged)
    {
        const std::uint64_t bits = std::bit_cast<std::uint32_t>(float(distance));
        pairs_.push_back({bits << 32 | keeper.rank, keeper.node, merged.node});
    }

    void apply()
    {
        std::sort(pairs_.begin(), pairs_.end(),
                  [](const pair& a, const pair& b) { return a.key < b.key; });
        for (const pair& found : pairs_) map_.absorb(found.keeper, found.merged);
        pairs_.clear();
    }

    const dense2D<double>& pos_;
    const node_grid<Dim>& grid_;
    double tol_;
    representatives& map_;
    std::array<std::array<double, Dim>, block_size> seeds_;
    std::vector<unsigned char> met_; // by entry
    std::vector<unsigned> members_;  // of one cluster
    std::vector<pair> pairs_;        // of one cluster
};

} // namespace kz3::lattiq::detail
