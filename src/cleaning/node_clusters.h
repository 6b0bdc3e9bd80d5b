#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include <kz3/lattiq/element_type.h>

#include "cleaning/merge_distance.h"
#include "cleaning/merge_roles.h"
#include "cleaning/representatives.h"
#include "core/prefetch.h"
#include "search/node_grid.h"
#include "search/node_places.h"

namespace kz3::lattiq::detail {

/// Merges nodes cluster by cluster: what can be reached from one node by steps within the tolerance.
/// No pair joins two clusters, so that the pairs of each can be sorted and applied by themselves, and
/// never more of them are held than one cluster has.
///
/// The result is that of all pairs (keeper, merged), sorted by distance and, where that is the same, by
/// the rank of the keeper:
/// - Pairs of one keeper and one distance can be applied in any order, since none decides whether
///   another is.
/// - After the pair (a, b) one of the two no longer stands, if both did before. So where a comes first
///   in rank and finds b, the pair (b, a), which sorts behind (a, b), has no effect and is left out.
///   It counts where (a, b) is none: where rounding of its box keeps a from finding b, or a may not
///   keep or b not go.
/// - For the same reason a pair that is found twice counts once.
///
/// Most clusters are within one bucket of the grid, and in them all nodes find each other. Then no
/// distance has a say: the first in rank is the keeper in each of its pairs, so that it always stands,
/// and as long as another does the pair of both is still to come. All end at the first.
template <unsigned Dim>
class node_clusters {
public:
    node_clusters(const dense2D<double>& pos, const node_grid<Dim>& grid, double tol,
                  const merge_roles& roles, representatives& map)
        : places_(pos),
          grid_(grid),
          roles_(roles),
          map_(map),
          tol_(tol),
          surely_near_(square_below(tol - grid.margin())),
          surely_far_(square_above(tol)),
          met_(grid.size(), unmet)
    {
    }

    void merge()
    {
        for (size_t b = 0; b < grid_.buckets(); ++b) {
            const unsigned first = grid_.start(b);
            const unsigned n = grid_.start(b + 1) - first;
            for (unsigned i = first; i < first + n; ++i)
                prefetch(places_[grid_[std::min(i + ahead, grid_.size() - 1)].node]);
            if (n <= most)
                merge_bucket(first, n);
            else
                for (unsigned i = first; i < first + n; ++i) merge_around(i);
        }
    }

private:
    using point = std::array<double, Dim>;
    using set = std::uint64_t; // of entries of a bucket

    struct member {
        unsigned entry; // of the grid
        unsigned stands_for;
        point at;
    };

    struct pair {
        std::uint64_t key; // the float of the distance, then the rank of the keeper
        unsigned keeper;   // members
        unsigned merged;
    };

    static constexpr unsigned ahead = 32;
    static constexpr unsigned most = 64; // entries of a bucket that a set has room for
    static constexpr unsigned unmet = NO_NODE;
    static constexpr unsigned done = NO_NODE - 1;

    // ---- bounds ----

    // What the square of a distance, as computed, has to be at most for the distance to be below this
    // one, or above for it to be above. Both allow for the last bits, and decide nothing where squares
    // are so small that they lose bits. Too large ones become infinite, and so do the distances then.
    static bool keeps_bits(double square) { return square > 1e-290; }
    static double square_below(double distance)
    {
        const double square = std::min(distance * distance, std::numeric_limits<double>::max());
        return distance > 0 && keeps_bits(square) ? square * (1 - 0x1p-50) : -1;
    }
    static double square_above(double distance)
    {
        const double square = distance * distance;
        return keeps_bits(square) ? square * (1 + 0x1p-50)
                                  : std::numeric_limits<double>::infinity();
    }

    // ---- the entries of one bucket ----

    static set only(unsigned i) { return set(1) << i; }
    static unsigned first_of(set entries) { return unsigned(std::countr_zero(entries)); }

    template <typename Visitor>
    static void for_each(set entries, Visitor visit)
    {
        for (; entries != 0; entries &= entries - 1) visit(first_of(entries));
    }

    void merge_bucket(unsigned first, unsigned n)
    {
        const set beyond = load_bucket(first, n);
        const set unsure = find_near(n);
        set left = n == most ? ~set(0) : only(n) - 1;
        while (left != 0) {
            const set cluster = reachable(first_of(left));
            left &= ~cluster;
            const bool alone = (cluster & (cluster - 1)) == 0;
            const bool inside = (cluster & beyond) == 0;
            if (inside && alone) continue;
            if (inside && (cluster & unsure) == 0 && all_near(cluster) && roles_.same_for_all())
                absorb_all(first, cluster);
            else
                for_each(cluster, [&](unsigned i) { merge_around(first + i); });
        }
    }

    // Takes in the places of the entries; returns those that have near ones in other buckets.
    set load_bucket(unsigned first, unsigned n)
    {
        set beyond = 0;
        for (unsigned i = 0; i < n; ++i) {
            const double* p = places_[grid_[first + i].node];
            for (unsigned d = 0; d < Dim; ++d) at_[d][i] = p[d];
            if (!grid_.stays_in_bucket(p) && has_near_beyond(first, p)) beyond |= only(i);
        }
        return beyond;
    }

    bool has_near_beyond(unsigned first, const double* p) const
    {
        bool found = false;
        grid_.for_each_near(p, [&](unsigned from, unsigned to) {
            if (from == first) return;
            for (unsigned j = from; j < to; ++j)
                found |= !(squared_distance<Dim>(p, places_[grid_[j].node]) > surely_far_);
        });
        return found;
    }

    // Fills near_; returns entries so that of each two that may be near and may not one is in it.
    set find_near(unsigned n)
    {
        set unsure = 0;
        for (unsigned i = 0; i < n; ++i) near_[i] = only(i);
        for (unsigned i = 0; i + 1 < n; ++i) {
            std::array<double, most> squares;
            for (unsigned j = i + 1; j < n; ++j) squares[j] = square(i, j);
            set near = 0;
            set sure = 0;
            for (unsigned j = i + 1; j < n; ++j) {
                const set is_near = squares[j] > surely_far_ ? 0 : 1;
                near |= is_near << j;
                sure |= set(squares[j] <= surely_near_) << j;
                near_[j] |= is_near << i;
            }
            near_[i] |= near;
            unsure |= near & ~sure;
        }
        return unsure;
    }

    double square(unsigned i, unsigned j) const
    {
        double sum = 0;
        for (unsigned d = 0; d < Dim; ++d) sum += (at_[d][i] - at_[d][j]) * (at_[d][i] - at_[d][j]);
        return sum;
    }

    set reachable(unsigned i) const
    {
        set found = near_[i];
        for (set open = found & ~only(i); open != 0;) {
            const set more = near_[first_of(open)];
            open = (open & (open - 1)) | (more & ~found);
            found |= more;
        }
        return found;
    }

    bool all_near(set cluster) const
    {
        bool all = true;
        for_each(cluster, [&](unsigned i) { all &= near_[i] == cluster; });
        return all;
    }

    // The entries of a bucket are in the order of their ranks.
    void absorb_all(unsigned first, set cluster)
    {
        const unsigned keeper = grid_[first + first_of(cluster)].node;
        for_each(cluster & (cluster - 1),
                 [&](unsigned i) { map_.absorb_standing(keeper, grid_[first + i].node); });
    }

    // ---- clusters of any shape ----

    // The cluster of an entry, if it is not done.
    void merge_around(unsigned i)
    {
        if (met_[i] != unmet) return;
        members_.clear();
        pairs_.clear();
        meet(i);
        for (unsigned a = 0; a < members_.size(); ++a) look_around(a);
        if (!pairs_.empty()) apply();
    }

    unsigned meet(unsigned i)
    {
        const auto a = unsigned(members_.size());
        member& added = members_.emplace_back();
        added.entry = i;
        added.stands_for = a;
        std::copy_n(places_[grid_[i].node], Dim, added.at.begin());
        return met_[i] = a;
    }

    void look_around(unsigned a)
    {
        const point p = members_[a].at;
        met_[members_[a].entry] = done; // has found all its pairs
        grid_.for_each_near(p.data(), [&](unsigned first, unsigned last) {
            for (unsigned j = first; j < last; ++j) {
                if (met_[j] == done) continue;
                const double square = squared_distance<Dim>(p.data(), places_[grid_[j].node]);
                if (square > surely_far_) continue;
                const double between = std::sqrt(square);
                if (!(between > tol_)) add(between, a, met_[j] == unmet ? meet(j) : met_[j]);
            }
        });
    }

    // Compared as a double, sorted as a float; the bits of floats that are not negative sort as they
    // do.
    void add(double distance, unsigned a, unsigned b)
    {
        if (rank(a) > rank(b)) std::swap(a, b);
        if (!absorbs(a, b)) {
            if (!absorbs(b, a)) return;
            std::swap(a, b);
        }
        const std::uint64_t bits = std::bit_cast<std::uint32_t>(float(distance));
        pairs_.push_back({bits << 32 | rank(a), a, b});
    }

    unsigned rank(unsigned a) const { return grid_[members_[a].entry].rank; }
    unsigned node(unsigned a) const { return grid_[members_[a].entry].node; }

    bool absorbs(unsigned a, unsigned b) const
    {
        return roles_.keeps(rank(a)) && roles_.goes(node(b)) &&
               merge_box<Dim>(members_[a].at.data(), tol_).contains(members_[b].at.data());
    }

    void apply()
    {
        std::sort(pairs_.begin(), pairs_.end(),
                  [](const pair& a, const pair& b) { return a.key < b.key; });
        const auto stands = [&](unsigned a) { return members_[a].stands_for == a; };
        for (const pair& p : pairs_)
            if (stands(p.keeper) && stands(p.merged)) members_[p.merged].stands_for = p.keeper;
        for (unsigned a = 0; a < members_.size(); ++a) {
            unsigned last = a;
            while (!stands(last)) last = members_[last].stands_for;
            if (last != a) map_.absorb_standing(node(last), node(a));
        }
    }

    node_places places_;
    const node_grid<Dim>& grid_;
    const merge_roles& roles_;
    representatives& map_;
    double tol_;
    double surely_near_; // squares of distances
    double surely_far_;
    std::array<std::array<double, most>, Dim> at_; // of the entries of one bucket
    std::array<set, most> near_;
    std::vector<unsigned> met_;   // member, by entry
    std::vector<member> members_; // of one cluster
    std::vector<pair> pairs_;     // of one cluster
};

} // namespace kz3::lattiq::detail
