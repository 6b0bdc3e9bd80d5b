#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>
#include <vector>

#include <kz3/lattiq/cleaning.h>
#include <kz3/lattiq/core.h>

#include "core/column.h"
#include "core/out_of_memory.h"
#include "search/kd_tree.h"
#include "search/mersenne_generator.h"

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

template <unsigned Dim>
double distance(const double* p, const double* q)
{
    double sum = 0;
    for (unsigned d = 0; d < Dim; ++d) sum += (p[d] - q[d]) * (p[d] - q[d]);
    return std::sqrt(sum);
}

template <unsigned Dim>
struct box {
    vector_fixed<double, Dim> low;
    vector_fixed<double, Dim> high;

    bool contains(const double* p) const
    {
        for (unsigned d = 0; d < Dim; ++d)
            if (!(p[d] >= low[d]) || p[d] > high[d]) return false;
        return true;
    }
};

template <unsigned Dim>
box<Dim> box_around(const double* p, double tol)
{
    box<Dim> around;
    for (unsigned d = 0; d < Dim; ++d) {
        around.low[d] = p[d] - tol;
        around.high[d] = p[d] + tol;
    }
    return around;
}

// The pairs found, and the map that says for each node which one stands for it.
class pair_list {
public:
    explicit pair_list(dense1D<unsigned>& id_map) : id_map_(id_map) {}

    bool stands(unsigned node) const { return id_map_[node] == node; }

    void add(float distance, unsigned keeper, unsigned merged);

    // Applies what was added, the closest pairs first, and makes the map direct. Returns how many nodes
    // were absorbed since the last call.
    size_t apply();

private:
    void absorb(unsigned keeper, unsigned merged);
    void point_to_representative(unsigned node);

    dense1D<unsigned>& id_map_;
    std::vector<merge_pair> pairs_;
    size_t absorbed_ = 0;
};

// A pair at distance 0 sorts before all others and keeps its place in the scan, so it needs no
// sorting: applied at once, it spares the nodes that it absorbs their own search, and keeps a heap
// of n coincident nodes from giving n * n pairs.
void pair_list::add(float distance, unsigned keeper, unsigned merged)
{
    if (distance == 0)
        absorb(keeper, merged);
    else
        pairs_.push_back({distance, keeper, merged});
}

size_t pair_list::apply()
{
    std::stable_sort(pairs_.begin(), pairs_.end(), closer);
    for (const merge_pair& pair : pairs_) absorb(pair.keeper, pair.merged);
    // One node of each pair has stopped being a representative, so none could ever be applied again.
    pairs_.clear();
    for (size_t j = 0; j < id_map_.size; ++j) point_to_representative(unsigned(j));
    return std::exchange(absorbed_, 0);
}

void pair_list::absorb(unsigned keeper, unsigned merged)
{
    if (!stands(keeper) || !stands(merged)) return;
    id_map_[merged] = keeper;
    ++absorbed_;
}

// A node that absorbed others may be absorbed in turn; every node met on the way is shortcut too.
void pair_list::point_to_representative(unsigned node)
{
    unsigned last = node;
    while (!stands(last)) last = id_map_[last];
    while (node != last) node = std::exchange(id_map_[node], last);
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

// Inserts the nodes in shuffled order, which keeps the tree flat. The identity lends its first words to
// the shuffle.
//
// The shape of the tree is of no account beyond that: pairs that one node finds at one distance stand
// together once sorted, and none of them decides about another.
template <unsigned Dim>
void plant(node_kd_tree<Dim>& tree, const dense1D<unsigned>& nodes, dense1D<unsigned>& identity)
{
    unsigned* order = identity.begin();
    unsigned* end = order + nodes.size;
    mersenne_generator generator;
    shuffle_indices(order, end, generator);
    tree.reserve(nodes.size);
    for (const unsigned* k = order; k != end; ++k) tree.insert_node(nodes[*k]);
    std::iota(order, end, 0U);
}

template <unsigned Dim>
void scan(const dense2D<double>& pos, const node_kd_tree<Dim>& tree,
          const dense1D<unsigned>& scanned, double tol, pair_list& pairs)
{
    dense1D<unsigned> found;
    for (const unsigned a : scanned) {
        if (a == NO_NODE || !pairs.stands(a)) continue;
        const double* p = column(pos, a);
        const box<Dim> around = box_around<Dim>(p, tol);
        found.clear();
        if (tree.size() != 0) tree.nodes_in_box(around.low, around.high, found);
        for (const unsigned b : found) {
            if (b == a || !pairs.stands(b)) continue;
            // Compared as a double, sorted as a float.
            const double between = distance<Dim>(p, column(pos, b));
            if (!(between > tol)) pairs.add(float(between), a, b);
        }
    }
}

// An element holds all candidates for its nodes, so no tree is needed to find them.
template <unsigned Dim>
void scan_element(const dense2D<double>& pos, const unsigned* node, const unsigned* end, double tol,
                  pair_list& pairs)
{
    // Beyond pos are NO_NODE, and what a list of nodes cut short by exhausted memory left unchecked.
    const auto stands = [&](unsigned k) { return k < pos.cols && pairs.stands(k); };
    for (const unsigned* a = node; a != end; ++a) {
        if (!stands(*a)) continue;
        const double* p = column(pos, *a);
        const box<Dim> around = box_around<Dim>(p, tol);
        for (const unsigned* b = node; b != end; ++b) {
            if (*b == *a || !stands(*b) || !around.contains(column(pos, *b))) continue;
            // Rounded first: within an element both comparison and order go by the float.
            const auto between = float(distance<Dim>(p, column(pos, *b)));
            if (!(double(between) > tol)) pairs.add(between, *a, *b);
        }
    }
}

// The nodes are distinct and without NO_NODE.
template <unsigned Dim>
int merge_nodes(const dense2D<double>& pos, const dense1D<unsigned>& nodes,
                const dense1D<unsigned>& scanned, dense1D<unsigned>& id_map, double tol)
{
    if (!make_identity(id_map, pos.cols)) return out_of_memory;
    node_kd_tree<Dim> tree(pos);
    plant(tree, nodes, id_map);
    pair_list pairs(id_map);
    scan(pos, tree, scanned, tol, pairs);
    return int(pairs.apply());
}

template <unsigned Dim>
int merge_within_elements(const dense2D<double>& pos, dense2D<unsigned>* first,
                          dense2D<unsigned>* last, dense1D<unsigned>& id_map, double tol,
                          bool repeated)
{
    if (!make_identity(id_map, pos.cols)) return out_of_memory;
    pair_list pairs(id_map);
    for (size_t total = 0;;) {
        for (const dense2D<unsigned>* connectM = first; connectM != last; ++connectM)
            for (size_t e = 0; e < connectM->cols; ++e) {
                const unsigned* node = column(*connectM, e);
                scan_element<Dim>(pos, node, node + connectM->rows, tol, pairs);
            }
        const size_t absorbed = pairs.apply();
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
    const int merged = merge_nodes<Dim>(pos, nodes, nodes, id_map, tol);
    for (dense2D<unsigned>* connectM = first; connectM != last; ++connectM)
        change_indices(*connectM, id_map);
    return merged;
}

int merge_lists(const dense2D<double>& pos, const dense1D<unsigned>& nodes,
                const dense1D<unsigned>& scanned, dense1D<unsigned>& id_map, double tol)
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
    return merge_lists(pos, nodes, indices2, id_map, tol);
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
    const int merged = merge_lists(pos, nodes, nodes, id_map, tol);
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
