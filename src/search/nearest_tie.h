#pragma once

#include <algorithm>
#include <cmath>

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
    struct member {
        const double* p;
        double square; ///< of its distance
        unsigned node;
        typename cell_index<Dim>::order order;
        bool on_path; ///< whether the first descent meets it
    };

    explicit nearest_tie(const vector_fixed<double, Dim>& q) : q_(q) {}

    /// Not more than the index finds.
    void add(const member& one) { members_.add(one); }

    /// Marks what stands above an entry as on the path. Returns whether anything stands below.
    ///
    /// Of two entries one stands above the other if it comes first both where left subtrees come
    /// first and where right ones do.
    bool mark_above(const typename cell_index<Dim>::order& of)
    {
        bool below = false;
        for (member& m : *this) {
            const bool before = m.order.entry < of.entry;
            const bool visited_before = m.order.mark.rank() < of.mark.rank();
            m.on_path = before && visited_before;
            below = below || (!before && !visited_before);
        }
        return below;
    }

    void mark(unsigned entry)
    {
        for (member& m : *this) m.on_path = m.on_path || m.order.entry == entry;
    }

    /// The node that the walk ends with, or NO_NODE where this cannot be told.
    unsigned winner()
    {
        std::sort(begin(), end(), [](const member& a, const member& b) {
            return a.order.mark.rank() < b.order.mark.rank();
        });
        const member* held = first_pick();
        for (const member& m : *this) {
            if (held == nullptr) {
                held = &m;
                continue;
            }
            const double radius = std::sqrt(held->square);
            if (!(std::sqrt(m.square) < radius) || !is_within<Dim>(m.p, q_, radius)) continue;
            bool passed_over = false;
            for (unsigned d = 0; d < Dim; ++d) {
                if (!m.order.mark.bounded(d) || !(m.p[d] >= q_[d] + radius)) continue;
                if (held->p[d] >= m.p[d]) return NO_NODE;
                passed_over = true;
            }
            if (!passed_over) held = &m;
        }
        return held->node;
    }

private:
    // The nearest on the path, the highest of them if several are; null if none is.
    const member* first_pick() const
    {
        const member* best = nullptr;
        for (const member& m : *this) {
            if (!m.on_path) continue;
            // of two on one path the upper comes first in every order
            if (best == nullptr || m.square < best->square) best = &m;
        }
        return best;
    }

    member* begin() { return members_.list; }
    member* end() { return members_.list + members_.count; }
    const member* begin() const { return members_.list; }
    const member* end() const { return members_.list + members_.count; }

    vector_fixed<double, Dim> q_;
    fixed_list<member, cell_index<Dim>::neighbours::room> members_;
};

} // namespace kz3::lattiq::detail
