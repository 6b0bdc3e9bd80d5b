#pragma once

#include <cmath>
#include <vector>

#include <kz3/dense2D.h>
#include <kz3/fixed.h>

namespace plain {

/// The k-d tree with its queries as plain recursions.
template <unsigned Dim>
class kd_tree {
public:
    using point = kz3::vector_fixed<double, Dim>;
    static constexpr unsigned none = 0xFFFFFFFF;

    explicit kd_tree(const kz3::dense2D<double>& pos) : pos_(pos) {}

    int insert_node(unsigned node)
    {
        if (node >= pos_.cols) return 0;
        const auto c = unsigned(entries_.size());
        entries_.push_back({node, none, none});
        if (c == 0) return 1;
        unsigned at = 0;
        unsigned axis = 0;
        for (;;) {
            entry& e = entries_[at];
            unsigned& child = at_axis(e, axis) > pos_(axis, node) ? e.left : e.right;
            if (child >= c) {
                child = c;
                return 1;
            }
            at = child;
            axis = (axis + 1) % Dim;
        }
    }

    unsigned closest_node(const point& q, unsigned rejected = none) const
    {
        unsigned best = none;
        double squared = 1.7976931348623157e308;
        if (!entries_.empty()) {
            unsigned at = 0;
            unsigned axis = 0;
            do {
                const entry& e = entries_[at];
                const double d = square(e.node, q);
                if (!(d >= squared) && e.node != rejected) {
                    squared = d;
                    best = e.node;
                }
                at = at_axis(e, axis) > q[axis] ? e.left : e.right;
                axis = (axis + 1) % Dim;
            } while (at < entries_.size());
        }
        double r = best == none ? 1.7976931348623157e308 : std::sqrt(squared);
        if (entries_.empty() || !(r > 0)) return best;
        visit(0, 0, q, rejected, r, best);
        return best;
    }

    void nodes_in_box(const point& lo, const point& hi, std::vector<unsigned>& out) const
    {
        if (!entries_.empty()) collect(0, 0, lo, hi, out);
    }

    /// The least distance of a node that was stored, by looking at all; -1 if there is none.
    double least_distance(const point& q, unsigned rejected = none) const
    {
        double least = -1;
        for (const entry& e : entries_) {
            const double d = std::sqrt(square(e.node, q));
            if (e.node != rejected && (least < 0 || d < least)) least = d;
        }
        return least;
    }

    /// Number of entries in the box, by looking at all.
    std::size_t count_in_box(const point& lo, const point& hi) const
    {
        std::size_t count = 0;
        for (const entry& e : entries_) count += inside(e.node, lo, hi) ? 1 : 0;
        return count;
    }

    double square(unsigned node, const point& q) const
    {
        const double dx = pos_(0, node) - q[0];
        const double dy = pos_(1, node) - q[1];
        if (Dim == 2) return dy * dy + dx * dx;
        const double dz = pos_(Dim - 1, node) - q[Dim - 1];
        return dz * dz + (dx * dx + dy * dy);
    }

    /// Words of entry i: node, left, right.
    std::vector<unsigned> words(std::size_t i) const
    {
        return {entries_[i].node, entries_[i].left, entries_[i].right};
    }

    std::size_t size() const { return entries_.size(); }

private:
    struct entry {
        unsigned node, left, right;
    };

    double at_axis(const entry& e, unsigned axis) const { return pos_(axis, e.node); }

    bool inside(unsigned node, const point& lo, const point& hi) const
    {
        for (unsigned d = 0; d < Dim; ++d)
            if (!(pos_(d, node) >= lo[d]) || pos_(d, node) > hi[d]) return false;
        return true;
    }

    void visit(unsigned at, unsigned axis, const point& q, unsigned rejected, double& r,
               unsigned& best) const
    {
        const entry& e = entries_[at];
        point lo{};
        point hi{};
        for (unsigned d = 0; d < Dim; ++d) {
            lo[d] = q[d] - r;
            hi[d] = q[d] + r;
        }
        if (e.node != rejected && inside(e.node, lo, hi)) {
            const double d = std::sqrt(square(e.node, q));
            if (d < r) {
                r = d;
                best = e.node;
            }
        }
        const double v = at_axis(e, axis);
        const unsigned deeper = (axis + 1) % Dim;
        if (!(v >= q[axis] + r) && e.right != none) visit(e.right, deeper, q, rejected, r, best);
        if (v > q[axis] - r && e.left != none) visit(e.left, deeper, q, rejected, r, best);
    }

    void collect(unsigned at, unsigned axis, const point& lo, const point& hi,
                 std::vector<unsigned>& out) const
    {
        const entry& e = entries_[at];
        const double v = at_axis(e, axis);
        const unsigned deeper = (axis + 1) % Dim;
        const bool upper = !(v > hi[axis]);
        if (upper && e.right != none) collect(e.right, deeper, lo, hi, out);
        const bool lower = v >= lo[axis];
        if (lower && e.left != none) collect(e.left, deeper, lo, hi, out);
        if (upper && lower && inside(e.node, lo, hi)) out.push_back(e.node);
    }

    const kz3::dense2D<double>& pos_;
    std::vector<entry> entries_;
};

} // namespace plain
