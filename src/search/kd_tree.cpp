#include "search/kd_tree.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

#include "core/column.h"
#include "core/prefetch.h"
#include "search/cell_index.h"
#include "search/kd_layout.h"
#include "search/nearest_tie.h"
#include "search/node_places.h"
#include "search/pending_stack.h"
#include "search/point_tests.h"

namespace kz3::lattiq::detail {
namespace {

constexpr unsigned rows_of_entry = 3;
constexpr double farthest = std::numeric_limits<double>::max();
constexpr std::size_t least_load = 32; // a shorter list is as fast one by one

} // namespace

template <unsigned Dim>
bool node_kd_tree<Dim>::reserve(std::size_t n)
{
    const bool enough = entries.reserve(rows_of_entry, n);
    entries_data = column(entries, 0);
    return enough;
}

template <unsigned Dim>
bool node_kd_tree<Dim>::copy(const node_kd_tree& other)
{
    coords = other.coords;
    const bool copied = entries.copy(other.entries);
    entries_data = column(entries, 0);
    index_ = copied ? other.index_ : nullptr;
    return copied;
}

template <unsigned Dim>
int node_kd_tree<Dim>::insert_node(unsigned node)
{
    if (coords == nullptr || node >= coords->cols) return 0;
    index_.reset();
    const double* p = column(*coords, node);
    const unsigned slot = append_entry(node);
    if (slot == 0) return 1;

    unsigned* child = nullptr;
    unsigned i = 0;
    for (unsigned axis = 0; i < slot; axis = next(axis)) {
        unsigned* words = entries_data + std::size_t(i) * rows_of_entry;
        child = words + (column(*coords, words[0])[axis] > p[axis] ? 1 : 2);
        i = *child;
    }
    *child = slot;
    return 1;
}

// Returns the place of the new entry. Where memory is exhausted there is no such entry, and what links
// to it leads nowhere until a later one takes the place.
template <unsigned Dim>
unsigned node_kd_tree<Dim>::append_entry(unsigned node)
{
    const std::size_t slot = entries.cols;
    if (slot >= entries.column_capacity())
        entries.reserve(rows_of_entry, std::max<std::size_t>(2 * slot, 8));
    if (entries.resize(rows_of_entry, slot + 1)) {
        entries_data = column(entries, 0);
        unsigned* words = entries_data + slot * rows_of_entry;
        words[0] = node;
        words[1] = words[2] = NO_NODE;
    }
    return unsigned(slot);
}

template <unsigned Dim>
std::uint32_t node_kd_tree<Dim>::insert_nodes(std::span<const unsigned> nodes)
{
    if (coords != nullptr && size() == 0 && nodes.size() >= least_load)
        if (const std::uint32_t loaded = load(nodes)) return loaded;
    std::uint32_t stored = 0;
    for (const unsigned node : nodes) stored += std::uint32_t(insert_node(node));
    return stored;
}

// Stores nothing where memory is exhausted, and returns 0.
template <unsigned Dim>
std::uint32_t node_kd_tree<Dim>::load(std::span<const unsigned> nodes)
{
    using placed = placed_node<Dim>;
    const std::unique_ptr<placed[]> list(new (std::nothrow) placed[nodes.size()]);
    std::unique_ptr<placed[]> spare(new (std::nothrow) placed[nodes.size()]);
    if (!list || !spare) return 0;
    unsigned n = 0;
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        constexpr std::size_t ahead = 16;
        if (k + ahead < nodes.size()) prefetch(column(*coords, nodes[k + ahead]));
        if (nodes[k] >= coords->cols) continue;
        std::copy_n(column(*coords, nodes[k]), Dim, list[n].p);
        list[n++].node = nodes[k];
    }
    if (n == 0 || !reserve(n) || !entries.resize(rows_of_entry, n)) return 0;
    entries_data = column(entries, 0);
    try {
        lay_out_tree<Dim>(list.get(), n, spare.get(), entries_data);
    } catch (const std::bad_alloc&) {
        entries.clear();
        return 0;
    }
    spare.reset(); // to make room for the index
    index_ = cell_index<Dim>::make(list.get(), n);
    return n;
}

template <unsigned Dim>
unsigned node_kd_tree<Dim>::closest_node(const point& q, node_filter filter) const
{
    if (coords == nullptr || size() == 0) return NO_NODE;
    const hint known = look_up(q, filter);
    if (known.decided) return known.best.node;
    nearest best = descend(q, filter);
    if (!(best.radius > 0.0)) return best.node; // an exact hit, or not a number
    best.radius = std::min(best.radius, known.best.radius);
    return search_around(q, filter, best);
}

// The walk of descend and search_around is what defines the answer. What it compares is rounded: in
// a state of radius r, it may pass over a node at a distance that is less than r by no more than
// 4 * 2^-53 * (q + r), q being the largest coordinate of the point; and distances are off by as
// much. A blur is more than eight times that. So in every state whose radius exceeds the
// distance of a node by half a blur, the walk comes to that node, if it did not before, and takes it.
//
// Take the least distance, and let all nodes lie within a blur above it or beyond two, which leaves
// a gap between the near ones and the far ones.
// - If only one is near, the walk takes it: whatever it took before is far.
// - If several are, the walk may start with any radius from within the gap, or with what descend took
//   if that is near. Until it takes the first of the near ones its radius is at least that, with
//   either start, so that both come to the same one first, and go on alike from there.
// Nodes that do not leave a gap, or are too close to the point for squares not to underflow, are
// left to the whole walk.
template <unsigned Dim>
auto node_kd_tree<Dim>::look_up(const point& q, node_filter filter) const -> hint
{
    const hint nothing{false, {NO_NODE, farthest}};
    typename cell_index<Dim>::neighbours near;
    const node_places places(*coords);
    if (!index_ || !index_->find_nearest(q, filter.rejected, near, &places)) return nothing;
    if (near.count == 1) return {true, {near.list[0].node, 0}};

    if (near.rejected_place != NO_NODE) prefetch(&index_->order_of(near.rejected_place));
    double largest = 0;
    for (unsigned d = 0; d < Dim; ++d) largest = std::max(largest, std::abs(q[d]));
    double squares[near.room];
    double least = farthest;
    for (unsigned k = 0; k < near.count; ++k) {
        squares[k] = squared_distance<Dim>(column(*coords, near.list[k].node), q);
        least = std::min(least, squares[k]);
    }
    if (!(least > 0x1p-900)) return nothing; // too small to reckon with, or an exact hit
    const double distance = std::sqrt(least);
    const double blur = 0x1p-48 * (largest + distance);
    const auto within = [&](unsigned k, double blurs) {
        const double radius = distance + blurs * blur;
        return squares[k] <= radius * radius;
    };
    nearest_tie<Dim> tie(q);
    for (unsigned k = 0; k < near.count; ++k) {
        if (!within(k, 2)) continue;
        if (!within(k, 1)) return nothing;
        const unsigned node = near.list[k].node;
        tie.add({column(*coords, node), squares[k], node, &index_->order_of(near.list[k].place)});
    }
    tie.drop_farther();
    unsigned node = tie.only_node();
    if (node == NO_NODE) node = resolve(q, near.rejected_place, filter, tie);
    if (node != NO_NODE) return {true, {node, 0}};
    return {false, {NO_NODE, distance + 1.5 * blur}};
}

// The winner of a tie about the position of the rejected node, whose place in the index is given. NO_NODE
// if q is elsewhere. The tree is read only if what the first descent meets below that node matters.
template <unsigned Dim>
unsigned node_kd_tree<Dim>::resolve(const point& q, unsigned place, node_filter filter,
                                    nearest_tie<Dim>& tie) const
{
    if (place == NO_NODE) return NO_NODE;
    const double* p = column(*coords, filter.rejected);
    if (!std::equal(p, p + Dim, q.data)) return NO_NODE;
    const auto& here = index_->order_of(place);
    tie.descend_to(here);
    const unsigned node = tie.winner();
    if (node != NO_NODE) return node;
    unsigned first = entry(here.entry).right; // where what is equal goes
    unsigned last = size();
    tie.leave(0, std::min(first, last));
    for (unsigned axis = next(here.mark.axis()); tie.may_meet(first, last); axis = next(axis)) {
        tie.meet(first);
        if (!tie.may_meet(first, last)) break;
        const tree_entry at = entry(first);
        if (column(*coords, at.node)[axis] > q[axis]) {
            const unsigned right = std::min(at.right, last);
            tie.leave(right, last);
            last = right;
            first = at.left;
        } else {
            tie.leave(first, std::min(at.right, last));
            first = at.right;
        }
    }
    tie.leave(0, size());
    return tie.winner();
}

template <unsigned Dim>
auto node_kd_tree<Dim>::descend(const point& q, node_filter filter) const -> nearest
{
    const unsigned n = size();
    unsigned best = NO_NODE;
    double best_squared = farthest;
    for (unsigned i = 0, axis = 0; i < n; axis = next(axis)) {
        const tree_entry at = entry(i);
        const double* p = column(*coords, at.node);
        const double squared = squared_distance<Dim>(p, q);
        // negated, so that a distance that is not a number replaces the best and gives way to any
        if (!(squared >= best_squared) && filter.accepts(at.node)) {
            best_squared = squared;
            best = at.node;
        }
        i = p[axis] > q[axis] ? at.left : at.right;
    }
    return {best, best == NO_NODE ? farthest : std::sqrt(best_squared)};
}

template <unsigned Dim>
unsigned node_kd_tree<Dim>::search_around(const point& q, node_filter filter, nearest best) const
{
    // A left subtree whose turn comes after the right one, by when the radius may have shrunk.
    struct left_side {
        double split;
        unsigned child;
        unsigned axis;
    };
    pending_stack<left_side, 64> pending;
    const unsigned n = size();
    unsigned i = 0;
    unsigned axis = 0;
    for (;;) {
        while (i < n) {
            const tree_entry at = entry(i);
            const double* p = column(*coords, at.node);
            if (filter.accepts(at.node) && is_within<Dim>(p, q, best.radius)) {
                const double distance = std::sqrt(squared_distance<Dim>(p, q));
                if (distance < best.radius) best = {at.node, distance};
            }
            if (at.left < n) pending.push({p[axis], at.left, axis});
            // negated, so that a split that is not a number keeps the right side open
            i = !(p[axis] >= q[axis] + best.radius) ? at.right : NO_NODE;
            axis = next(axis);
        }
        if (pending.empty()) return best.node;
        const left_side side = pending.pop();
        if (side.split > q[side.axis] - best.radius) {
            i = side.child;
            axis = next(side.axis);
        }
    }
}

template <unsigned Dim>
void node_kd_tree<Dim>::nodes_in_box(const point& lo, const point& hi, dense1D<unsigned>& out) const
{
    if (!look_up_box(lo, hi, out)) walk_box(lo, hi, out);
}

// The entries of a tree loaded at once stand in the order entry, left subtree, right subtree, which
// is the order of the results from the last to the first.
template <unsigned Dim>
bool node_kd_tree<Dim>::look_up_box(const point& lo, const point& hi, dense1D<unsigned>& out) const
{
    typename cell_index<Dim>::box_candidates found;
    if (!index_ || !index_->find_in_box(lo, hi, found)) return false;
    std::uint64_t keys[found.room];
    std::size_t n = 0;
    for (unsigned k = 0; k < found.count; ++k) {
        const auto& one = found.list[k];
        if (one.certain || is_inside<Dim>(column(*coords, one.node), lo, hi))
            keys[n++] = std::uint64_t(one.entry) << 32 | one.node;
    }
    std::sort(keys, keys + n);
    while (n-- > 0) out.push_back(unsigned(keys[n]));
    return true;
}

template <unsigned Dim>
void node_kd_tree<Dim>::walk_box(const point& lo, const point& hi, dense1D<unsigned>& out) const
{
    // A left subtree to visit on an axis, or, with axis Dim, a node to append.
    struct step {
        unsigned id;
        unsigned axis;
    };
    pending_stack<step, 128> pending;
    const unsigned n = size();
    unsigned i = 0;
    unsigned axis = 0;
    for (;;) {
        while (i < n) {
            const tree_entry at = entry(i);
            const double* p = column(*coords, at.node);
            const bool upper = !(p[axis] > hi[axis]);
            const bool lower = p[axis] >= lo[axis];
            if (upper && lower && is_inside<Dim>(p, lo, hi)) pending.push({at.node, Dim});
            axis = next(axis);
            if (lower && at.left < n) pending.push({at.left, axis});
            i = upper ? at.right : NO_NODE;
        }
        // Finished nodes are appended until a left subtree turns up.
        for (i = NO_NODE; i == NO_NODE;) {
            if (pending.empty()) return;
            const step todo = pending.pop();
            if (todo.axis == Dim) {
                out.push_back(todo.id);
            } else {
                i = todo.id;
                axis = todo.axis;
            }
        }
    }
}

template class node_kd_tree<2>;
template class node_kd_tree<3>;

} // namespace kz3::lattiq::detail
