#include <algorithm>
#include <cmath>
#include <numeric>
#include <span>
#include <vector>

#include <kz3/lattiq/cleaning.h>
#include <kz3/lattiq/core.h>

#include "cleaning/coincident_nodes.h"
#include "cleaning/merge_distance.h"
#include "cleaning/node_clusters.h"
#include "cleaning/representatives.h"
#include "core/column.h"
#include "core/out_of_memory.h"
#include "search/kd_tree.h"
#include "search/mersenne_generator.h"
#include "search/node_grid.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

constexpr double default_tol = 1e-6;

struct merge_pair {
    float distance;
    unsigned keeper;
    unsigned merged;
};

// Not a number stands behind every distance: with nodes at infinity both can occur.
bool closer(const merge_pair& a, const merge_pair& b)
{
    return a.distance < b.distance || (std::isnan(b.distance) && !std::isnan(a.distance));
}

// The pairs found in the order of the scan.
class pair_list {
public:
    explicit pair_list(representatives& map) : map_(map) {}

    // A pair at distance 0 sorts before all others and keeps its place in the scan, so it needs no
    // sorting: applied at once, it spares the nodes that it absorbs their own search, and keeps a
    // heap of n coincident nodes from giving n * n pairs.
    void add(float distance, unsigned keeper, unsigned merged)
    {
        if (distance == 0)
            map_.absorb(keeper, merged);
        else
            pairs_.push_back({distance, keeper, merged});
    }

    // Applies what was added, the closest pairs first.
    void apply()
    {
        std::stable_sort(pairs_.begin(), pairs_.end(), closer);
        for (const merge_pair& pair : pairs_) map_.absorb(pair.keeper, pair.merged);
        // One node of each pair has stopped standing, so none could ever be applied again.
        pairs_.clear();
    }

private:
    representatives& map_;
    std::vector<merge_pair> pairs_;
};

std::span<const unsigned> span_of(const dense1D<unsigned>& list)
{
    return {list.begin(), list.size};
}

bool same_list(const dense1D<unsigned>& a, const dense1D<unsigned>& b)
{
    return a.size == b.size &&
           (a.begin() == b.begin() || std::equal(a.begin(), a.end(), b.begin()));
}

// Leaves the map empty where it cannot be sized.
bool make_identity(dense1D<unsigned>& id_map, size_t n)
{
    if (!id_map.reserve(n, 1)) {
        id_map.clear();
        return false;
    }
    id_map.resize(n);
    std::iota(id_map.begin(), id_map.end(), 0U);
    return true;
}

// Inserts the nodes in shuffled order, which keeps the tree flat.
//
// The shape of the tree is of no account beyond that: pairs that one node finds at one distance stand
// together once sorted, and none of them decides about another.
template <unsigned Dim>
void plant(node_kd_tree<Dim>& tree, std::span<const unsigned> nodes)
{
    std::vector<unsigned> order(nodes.begin(), nodes.end());
    mersenne_generator generator;
    shuffle_indices(order.data(), order.data() + order.size(), generator);
    tree.reserve(order.size());
    for (const unsigned node : order) tree.insert_node(node);
}

template <unsigned Dim>
void scan(const dense2D<double>& pos, const node_kd_tree<Dim>& tree,
          std::span<const unsigned> scanned, double tol, const representatives& map,
          pair_list& pairs)
{
    dense1D<unsigned> found;
    for (const unsigned a : scanned) {
        if (a == NO_NODE || !map.stands(a)) continue;
        const double* p = column(pos, a);
        const merge_box<Dim> around(p, tol);
        found.clear();
        if (tree.size() != 0) tree.nodes_in_box(around.low, around.high, found);
        for (const unsigned b : found) {
            if (b == a || !map.stands(b)) continue;
            // Compared as a double, sorted as a float.
            const double between = distance<Dim>(p, column(pos, b));
            if (!(between > tol)) pairs.add(float(between), a, b);
        }
    }
}

// An element holds all candidates for its nodes, so no tree is needed to find them.
template <unsigned Dim>
void scan_element(const dense2D<double>& pos, const unsigned* node, const unsigned* end, double tol,
                  const representatives& map, pair_list& pairs)
{
    // Beyond pos are NO_NODE, and what a list of nodes cut short by exhausted memory left unchecked.
    const auto stands = [&](unsigned k) { return k < pos.cols && map.stands(k); };
    for (const unsigned* a = node; a != end; ++a) {
        if (!stands(*a)) continue;
        const double* p = column(pos, *a);
        const merge_box<Dim> around(p, tol);
        for (const unsigned* b = node; b != end; ++b) {
            if (*b == *a || !stands(*b) || !around.contains(column(pos, *b))) continue;
            // Rounded first: within an element both comparison and order go by the float.
            const auto between = float(distance<Dim>(p, column(pos, *b)));
            if (!(double(between) > tol)) pairs.add(between, *a, *b);
        }
    }
}

// Two lists, and any coordinates.
template <unsigned Dim>
void merge_by_tree(const dense2D<double>& pos, std::span<const unsigned> nodes,
                   std::span<const unsigned> scanned, double tol, representatives& map)
{
    node_kd_tree<Dim> tree(pos);
    plant(tree, nodes);
    pair_list pairs(map);
    scan(pos, tree, scanned, tol, map, pairs);
    pairs.apply();
}

// The largest magnitude of a coordinate; what is not a number does not count.
template <unsigned Dim>
double largest_coordinate(const dense2D<double>& pos, std::span<const unsigned> nodes)
{
    double largest = 0;
    for (const unsigned node : nodes) {
        const double* p = column(pos, node);
        for (unsigned d = 0; d < Dim; ++d) largest = std::max(largest, std::abs(p[d]));
    }
    return largest;
}

// One list that is stored and scanned.
//
// Coincident nodes can go before any search. They find the same nodes and are found by the same, so
// the first keeper to find one of them, which may be another of them, absorbs all that still stand:
// either the first of them absorbs the rest, or none of them ever absorbs anything and all follow the
// node that absorbs the first. Both ways they end where the first ends. What is not a number is in no
// box; between infinities, equal or not, there is no distance of 0.
template <unsigned Dim>
void merge_one_list(const dense2D<double>& pos, std::span<const unsigned> nodes, double tol,
                    representatives& map)
{
    const double largest = largest_coordinate<Dim>(pos, nodes);
    if (!std::isfinite(largest)) return merge_by_tree<Dim>(pos, nodes, nodes, tol, map);
    const auto left = coincident_nodes<Dim>(pos).absorb(nodes, map);
    if (tol == 0) return; // a box without extent holds equal coordinates only
    const node_grid<Dim> grid(pos, left, largest, tol);
    if (grid.usable())
        node_clusters<Dim>(pos, grid, tol, map).merge();
    else
        merge_by_tree<Dim>(pos, left, left, tol, map);
}

// The nodes are distinct and without NO_NODE.
template <unsigned Dim>
int merge_nodes(const dense2D<double>& pos, std::span<const unsigned> nodes,
                std::span<const unsigned> scanned, dense1D<unsigned>& id_map, double tol)
{
    if (!make_identity(id_map, pos.cols)) return out_of_memory;
    representatives map(id_map);
    if (scanned.data() == nodes.data())
        merge_one_list<Dim>(pos, nodes, tol, map);
    else
        merge_by_tree<Dim>(pos, nodes, scanned, tol, map);
    return int(map.settle());
}

template <unsigned Dim>
int merge_within_elements(const dense2D<double>& pos, dense2D<unsigned>* first,
                          dense2D<unsigned>* last, dense1D<unsigned>& id_map, double tol,
                          bool repeated)
{
    if (!make_identity(id_map, pos.cols)) return out_of_memory;
    representatives map(id_map);
    pair_list pairs(map);
    for (size_t total = 0;;) {
        for (const dense2D<unsigned>* connectM = first; connectM != last; ++connectM)
            for (size_t e = 0; e < connectM->cols; ++e) {
                const unsigned* node = column(*connectM, e);
                scan_element<Dim>(pos, node, node + connectM->rows, tol, map, pairs);
            }
        pairs.apply();
        const size_t absorbed = map.settle();
        for (dense2D<unsigned>* connectM = first; connectM != last; ++connectM)
            change_indices(*connectM, id_map);
        total += absorbed;
        if (!repeated || absorbed == 0) return int(total);
    }
}

template <unsigned Dim>
int merge_range(const dense2D<double>& pos, const dense1D<unsigned>& nodes,
                dense2D<unsigned>* first, dense2D<unsigned>* last, dense1D<unsigned>& id_map,
                double tol, unsigned mode)
{
    if (mode != 0) return merge_within_elements<Dim>(pos, first, last, id_map, tol, mode == 2);
    const int merged = merge_nodes<Dim>(pos, span_of(nodes), span_of(nodes), id_map, tol);
    for (dense2D<unsigned>* connectM = first; connectM != last; ++connectM)
        change_indices(*connectM, id_map);
    return merged;
}

int merge_lists(const dense2D<double>& pos, std::span<const unsigned> nodes,
                std::span<const unsigned> scanned, dense1D<unsigned>& id_map, double tol)
{
    return pos.rows == 2 ? merge_nodes<2>(pos, nodes, scanned, id_map, tol)
                         : merge_nodes<3>(pos, nodes, scanned, id_map, tol);
}

} // namespace

int merge(const dense2D<double>& pos, const dense1D<unsigned>& indices1,
          const dense1D<unsigned>& indices2, dense1D<unsigned>& id_map, double tol)
{
    id_map.clear();
    if (pos.cols == 0) return 0;
    if (pos.rows != 2 && pos.rows != 3) return -1;           // pos
    if (!check_IDs(indices1, unsigned(pos.cols))) return -2; // indices1
    if (!check_IDs(indices2, unsigned(pos.cols))) return -3; // indices2
    if (!(tol >= 0.0)) return -4;                            // tol, negated for NaN
    if (indices1.size == 0 || indices2.size == 0) return 0;

    dense1D<unsigned> nodes;
    unique_indices(nodes, indices1);
    // Where the lists are one, repeats of it find nothing new.
    const auto scanned = same_list(indices1, indices2) ? span_of(nodes) : span_of(indices2);
    return merge_lists(pos, span_of(nodes), scanned, id_map, tol);
}

int merge(const dense2D<double>& pos, const dense1D<unsigned>& indices, dense1D<unsigned>& id_map,
          double tol)
{
    return merge(pos, indices, indices, id_map, tol);
}

int merge(const dense2D<double>& pos, dense2D<unsigned>* first, dense2D<unsigned>* last,
          dense1D<unsigned>& id_map, double tol, unsigned mode)
{
    id_map.clear();
    if (pos.cols == 0 || first == last) return 0;
    if (pos.rows != 2 && pos.rows != 3) return -1; // pos
    if (last < first) return -3;                   // last
    if (!(tol >= 0.0)) return -5;                  // tol, negated for NaN
    if (mode > 2) return -6;                       // mode
    dense1D<unsigned> nodes;
    unique_indices(nodes, first, last);
    if (nodes.size == 0) return 0;
    if (!check_IDs(nodes, unsigned(pos.cols))) return -2; // a connectivity

    return pos.rows == 2 ? merge_range<2>(pos, nodes, first, last, id_map, tol, mode)
                         : merge_range<3>(pos, nodes, first, last, id_map, tol, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM, dense1D<unsigned>& id_map,
          double tol, unsigned mode)
{
    return merge(pos, &connectM, &connectM + 1, id_map, tol, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM1, dense2D<unsigned>& connectM2,
          dense1D<unsigned>& id_map, double tol, unsigned mode)
{
    dense2D<unsigned> views[] = {connectM1, connectM2}; // which share the caller's elements
    return merge(pos, views, views + 2, id_map, tol, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned>* first, dense2D<unsigned>* last, double tol,
          unsigned mode)
{
    dense1D<unsigned> id_map;
    return merge(pos, first, last, id_map, tol, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM, double tol, unsigned mode)
{
    dense1D<unsigned> id_map;
    return merge(pos, connectM, id_map, tol, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM1, dense2D<unsigned>& connectM2,
          double tol, unsigned mode)
{
    dense1D<unsigned> id_map;
    return merge(pos, connectM1, connectM2, id_map, tol, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM)
{
    return merge(pos, connectM, default_tol, 0);
}

int merge(const dense2D<double>& pos, dense2D<unsigned>& connectM1, dense2D<unsigned>& connectM2)
{
    return merge(pos, connectM1, connectM2, default_tol, 0);
}

int merge(dense2D<double>& pos, dense1D<unsigned>& id_map, double tol)
{
    id_map.clear();
    if (pos.cols == 0) return 0;
    if (pos.rows != 2 && pos.rows != 3) return -1; // pos
    if (!(tol >= 0.0)) return -3;                  // tol, negated for NaN

    dense2D<double> merged_pos;
    dense1D<unsigned> nodes(pos.cols);
    if (nodes.size != pos.cols || !merged_pos.copy(pos)) return out_of_memory;
    std::iota(nodes.begin(), nodes.end(), 0U);
    const int merged = merge_lists(pos, span_of(nodes), span_of(nodes), id_map, tol);
    if (merged < 0) return merged;
    for (size_t j = 0; j < pos.cols; ++j)
        if (id_map[j] != j) std::copy_n(column(pos, id_map[j]), pos.rows, column(merged_pos, j));
    pos.shallow_copy(merged_pos);
    return merged;
}

int merge(dense2D<double>& pos, double tol)
{
    dense1D<unsigned> id_map;
    return merge(pos, id_map, tol);
}

} // namespace kz3::lattiq
