#include "cleaning/merge_nodes.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "cleaning/coincident_nodes.h"
#include "cleaning/merge_distance.h"
#include "cleaning/merge_pairs.h"
#include "cleaning/merge_roles.h"
#include "cleaning/node_clusters.h"
#include "core/column.h"
#include "search/kd_tree.h"
#include "search/mersenne_generator.h"
#include "search/node_grid.h"

namespace kz3::lattiq::detail {
namespace {

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
          merge_pairs& pairs)
{
    dense1D<unsigned> found;
    for (const unsigned a : scanned) {
        if (!map.stands(a)) continue;
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

// For any nodes and any coordinates.
template <unsigned Dim>
void merge_by_tree(const dense2D<double>& pos, std::span<const unsigned> absorbed,
                   std::span<const unsigned> scanned, double tol, representatives& map)
{
    node_kd_tree<Dim> tree(pos);
    plant(tree, absorbed);
    merge_pairs pairs(map);
    scan(pos, tree, scanned, tol, map, pairs);
    pairs.apply();
}

template <unsigned Dim>
bool is_somewhere(const double* p)
{
    return std::none_of(p, p + Dim, [](double x) { return std::isnan(x); });
}

// Coincident nodes can go before any search, all of them or some. They find the same nodes and are
// found by the same, so the first keeper to find one of them, which may be another of them, absorbs
// all that still stand: either the first of them absorbs the rest, or none of them ever absorbs
// anything and all follow the node that absorbs the first. Both ways they end where the first ends.
// What is not a number is in no box; between infinities, equal or not, there is no distance of 0.
template <unsigned Dim>
void merge_one_list(const dense2D<double>& pos, std::span<unsigned> nodes, double tol,
                    representatives& map)
{
    coincident_nodes<Dim> coincident(pos, map);
    if (tol == 0) {
        nodes = coincident.absorb(nodes);
        // A box without extent holds equal coordinates only.
        if (!coincident.any_infinite()) return;
        return merge_by_tree<Dim>(pos, nodes, nodes, tol, map);
    }
    // Where few nodes coincide, looking for them costs more than it saves, unless they crowd.
    nodes = coincident.absorb_if_many(nodes);
    node_grid<Dim> grid(pos, nodes, tol);
    if (grid.crowded() && coincident.gave_up()) {
        nodes = coincident.absorb(nodes);
        grid = node_grid<Dim>(pos, nodes, tol);
    }
    if (grid.crowded()) grid.separate_cubes();
    if (!grid.usable()) return merge_by_tree<Dim>(pos, nodes, nodes, tol, map);
    const merge_roles all{nodes.size(), {}};
    node_clusters<Dim>(pos, grid, tol, all, map).merge();
}

template <unsigned Dim>
void merge_two_lists(const dense2D<double>& pos, std::span<const unsigned> absorbed,
                     std::span<const unsigned> scanned, double tol, representatives& map)
{
    std::vector<unsigned> nodes;
    nodes.reserve(scanned.size() + absorbed.size());
    const auto add_nodes = [&](std::span<const unsigned> list, const std::vector<bool>& known) {
        for (const unsigned node : list)
            if (!known[node] && is_somewhere<Dim>(column(pos, node))) nodes.push_back(node);
    };
    merge_roles roles{0, std::vector<bool>(pos.cols)};
    add_nodes(scanned, roles.merged);
    roles.keepers = nodes.size();
    {
        std::vector<bool> listed(pos.cols);
        for (const unsigned node : scanned) listed[node] = true;
        add_nodes(absorbed, listed);
    }
    for (const unsigned node : absorbed) roles.merged[node] = true;
    const node_grid<Dim> grid(pos, nodes, tol);
    if (!grid.usable()) return merge_by_tree<Dim>(pos, absorbed, scanned, tol, map);
    node_clusters<Dim>(pos, grid, tol, roles, map).merge();
}

} // namespace

void merge_one_list(const dense2D<double>& pos, std::span<unsigned> nodes, double tol,
                    representatives& map)
{
    if (pos.rows == 2)
        merge_one_list<2>(pos, nodes, tol, map);
    else
        merge_one_list<3>(pos, nodes, tol, map);
}

void merge_two_lists(const dense2D<double>& pos, std::span<const unsigned> absorbed,
                     std::span<const unsigned> scanned, double tol, representatives& map)
{
    if (pos.rows == 2)
        merge_two_lists<2>(pos, absorbed, scanned, tol, map);
    else
        merge_two_lists<3>(pos, absorbed, scanned, tol, map);
}

} // namespace kz3::lattiq::detail
