#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include <kz3/fixed.h>
#include <kz3/lattiq/element_type.h>

#include "search/cell_index.h"
#include "search/point_tests.h"

namespace kz3::lattiq::detail {

/// The nodes that are nearest to a point as far as rounding lets tell, and which of them the walk
/// through the tree ends with.
///
/// Until the walk takes one of them its radius is so wide that it comes to all. Of those on its first
/// descent it takes the nearest; otherwise the first that it comes to. Later it takes one only if that
/// is nearer, by the last bits then, lies in the box of the radius in force, and was not passed over.
///
/// A left subtree is not passed over if it holds a node of the box: its split value is above the
/// coordinate of that node, which is not below the bound. Nor is a right one, except where the split
/// value is at the upper bound, q + radius, and so is the coordinate of the node, between the two: the
/// node is then `bounded` on that axis. If it is, the entry with this split value passes it over
/// with the radius in force, unless that was set only afterwards: by a node which stands to the right
/// of that entry too, and hence is not below it on the axis.
template <unsigned Dim>
class nearest_tie {
public:
    enum path { unknown, off, on };

    struct member {
        const double* p;
        double square; ///< of its distance
        unsigned node;
        const typename cell_index<Dim>::order* order; ///< must outlive the tie
        path first_descent = unknown;                 ///< whether it meets the node
    };

    explicit nearest_tie(const vector_fixed<double, Dim>& q) : q_(q) {}

    /// Not more than the index finds.
    void add(const member& one) { members_.add(one); }

    /// Drops what the walk cannot end with: what is not at the least distance.
    ///
    /// Nothing is dropped unless each node at the least distance lies in the box of the next greater
    /// one and is not passed over there. Neither changes where the radius is wider, so they stay so
    /// until the walk takes the first of them; and from then on none is nearer.
    void drop_farther()
    {
        double distances[cell_index<Dim>::neighbours::room];
        double least = std::numeric_limits<double>::infinity();
        double next = least;
        for (unsigned k = 0; k < members_.count; ++k) {
            distances[k] = std::sqrt(members_.list[k].square);
            least = std::min(least, distances[k]);
        }
        for (unsigned k = 0; k < members_.count; ++k)
            if (distances[k] > least) next = std::min(next, distances[k]);
        for (unsigned k = 0; k < members_.count; ++k)
            if (!(distances[k] > least) && !is_met(members_.list[k], next)) return;
        unsigned kept = 0;
        for (unsigned k = 0; k < members_.count; ++k)
            if (!(distances[k] > least)) members_.list[kept++] = members_.list[k];
        members_.count = kept;
    }

    /// The node, where there is only one, or else NO_NODE.
    unsigned only_node() const
    {
        const unsigned node = members_.count == 0 ? NO_NODE : begin()->node;
        const bool alone =
            std::all_of(begin(), end(), [&](const member& m) { return m.node == node; });
        return alone ? node : NO_NODE;
    }

    /// Tells the first descent from its way down to an entry at q, which insertion led to its place by
    /// the same comparisons: what stands above the entry is on it, and nothing else but what stands
    /// below.
    ///
    /// Of two entries one stands above the other if it comes first both where left subtrees come
    /// first and where right ones do.
    void descend_to(const typename cell_index<Dim>::order& at)
    {
        for (member& m : *this) {
            const bool before = m.order->entry < at.entry;
            const bool visited_before = m.order->mark.rank() < at.mark.rank();
            m.first_descent = before != visited_before ? off : before ? on : unknown;
        }
    }

    /// Tells that the first descent meets an entry.
    void meet(unsigned entry)
    {
        for (member& m : *this)
            if (m.order->entry == entry) m.first_descent = on;
    }

    /// Tells that it meets nothing more of the entries from first to before last.
    void leave(unsigned first, unsigned last)
    {
        for (member& m : *this)
            if (m.first_descent == unknown && m.order->entry >= first && m.order->entry < last)
                m.first_descent = off;
    }

    /// Whether it may meet one of the entries from first to before last.
    bool may_meet(unsigned first, unsigned last) const
    {
        return std::any_of(begin(), end(), [&](const member& m) {
            return m.first_descent == unknown && m.order->entry >= first && m.order->entry < last;
        });
    }

    /// The node that the walk ends with, or NO_NODE where this cannot be told.
    ///
    /// Where it is unknown what else the first descent meets, the node must be the same whichever of
    /// them it takes.
    unsigned winner() const
    {
        const member* pick = first_pick();
        const unsigned node = last_held(pick != nullptr ? *pick : first_visited());
        for (const member& m : *this) {
            if (m.first_descent != unknown || (pick != nullptr && !(m.square < pick->square)))
                continue;
            if (last_held(m) != node) return NO_NODE;
        }
        return node;
    }

private:
    // Whether a walk of this radius, or of any wider one, comes to a node and has it in its box.
    bool is_met(const member& m, double radius) const
    {
        if (!is_within<Dim>(m.p, q_, radius)) return false;
        for (unsigned d = 0; d < Dim; ++d)
            if (m.p[d] >= q_[d] + radius && m.order->mark.bounded(d)) return false;
        return true;
    }

    // The nearest known to be on the first descent, the highest of them if several are; null if none
    // is. Of two on one path the upper is visited first.
    const member* first_pick() const
    {
        const member* best = nullptr;
        for (const member& m : *this) {
            if (m.first_descent != on) continue;
            if (best == nullptr || m.square < best->square ||
                (m.square == best->square && visited_before(m, *best)))
                best = &m;
        }
        return best;
    }

    const member& first_visited() const
    {
        return *std::min_element(begin(), end(), visited_before);
    }

    // The node held in the end by a walk that goes on with one member held. What is before that one
    // in the order of visits is still to come if it was the pick of the first descent, and is no
    // nearer or would be held if not.
    unsigned last_held(const member& first) const
    {
        const member* held = &first;
        for (const member* m = next_nearer(nullptr, first); m != nullptr;
             m = next_nearer(m, *held)) {
            const double radius = std::sqrt(held->square);
            if (!(std::sqrt(m->square) < radius) || !is_within<Dim>(m->p, q_, radius)) continue;
            bool passed_over = false;
            for (unsigned d = 0; d < Dim; ++d) {
                if (!m->order->mark.bounded(d) || !(m->p[d] >= q_[d] + radius)) continue;
                if (held->p[d] >= m->p[d]) return NO_NODE;
                passed_over = true;
            }
            if (!passed_over) held = m;
        }
        return held->node;
    }

    // The first visited after one, or of all, of those that are nearer than the one held.
    const member* next_nearer(const member* after, const member& held) const
    {
        const member* next = nullptr;
        for (const member& m : *this) {
            if (!(m.square < held.square) || (after != nullptr && !visited_before(*after, m)))
                continue;
            if (next == nullptr || visited_before(m, *next)) next = &m;
        }
        return next;
    }

    static bool visited_before(const member& a, const member& b)
    {
        return a.order->mark.rank() < b.order->mark.rank();
    }

    member* begin() { return members_.list; }
    member* end() { return members_.list + members_.count; }
    const member* begin() const { return members_.list; }
    const member* end() const { return members_.list + members_.count; }

    vector_fixed<double, Dim> q_;
    fixed_list<member, cell_index<Dim>::neighbours::room> members_;
};

} // namespace kz3::lattiq::detail
