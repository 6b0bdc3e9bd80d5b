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

// The merging of one call: a tree that is built once, and the map that says for each node which one
// stands for it.
template <unsigned Dim>
class node_merger {
public:
    node_merger(const dense2D<double>& pos, dense1D<unsigned>& id_map, double tol)
        : pos_(pos), id_map_(id_map), tol_(tol), tree_(pos)
    {
    }

    // Puts the nodes into the tree and makes the map the identity; false if it cannot be sized.
    bool plant(const dense1D<unsigned>& nodes);

    // Collects the pairs of a scanned node and one in the tree.
    void scan(const dense1D<unsigned>& scanned);

    // Collects those pairs that share an element.
    void scan(const dense2D<unsigned>& connectM);

    // Applies what was collected, the closest pairs first, and makes the map direct for `nodes`.
    // Returns how many nodes were absorbed since the last call.
    size_t apply(const dense1D<unsigned>& nodes);

private:
    // Not in the map are NO_NODE, and what a list of nodes cut short by exhausted memory left unchecked.
    bool in_map(unsigned node) const { return node < id_map_.size; }
    bool stands(unsigned node) const { return id_map_[node] == node; }

    void scan_element(const unsigned* node, const unsigned* end, unsigned a);
    bool has_company(const unsigned* node, const unsigned* end, unsigned a,
                     const box<Dim>& around) const;
    void find_near(const box<Dim>& around);
    void add(float distance, unsigned keeper, unsigned merged);
    void absorb(unsigned keeper, unsigned merged);
    void point_to_representative(unsigned node);

    const dense2D<double>& pos_;
    dense1D<unsigned>& id_map_;
    double tol_;
    node_kd_tree<Dim> tree_;
    dense1D<unsigned> near_;
    std::vector<merge_pair> pairs_;
    size_t absorbed_ = 0;
};

template <unsigned Dim>
bool node_merger<Dim>::plant(const dense1D<unsigned>& nodes)
{
    if (!id_map_.reserve(pos_.cols, 1)) return false;
    tree_.reserve(nodes.size);

    // The map has room to spare until the tree stands: it holds the order of insertion first.
    id_map_.resize(nodes.size);
    std::iota(id_map_.begin(), id_map_.end(), 0U);
    mersenne_generator generator;
    shuffle_indices(id_map_.begin(), id_map_.end(), generator);
    for (const unsigned k : id_map_) tree_.insert_node(nodes[k]);

    id_map_.resize(pos_.cols);
    std::iota(id_map_.begin(), id_map_.end(), 0U);
    return true;
}

template <unsigned Dim>
void node_merger<Dim>::scan(const dense1D<unsigned>& scanned)
{
    for (const unsigned a : scanned) {
        if (a == NO_NODE || !stands(a)) continue;
        const double* p = column(pos_, a);
        find_near(box_around<Dim>(p, tol_));
        for (const unsigned b : near_) {
            if (b == a || !stands(b)) continue;
            // Compared as a double, sorted as a float.
            const double between = distance<Dim>(p, column(pos_, b));
            if (!(between > tol_)) add(float(between), a, b);
        }
    }
}

template <unsigned Dim>
void node_merger<Dim>::scan(const dense2D<unsigned>& connectM)
{
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        const unsigned* end = node + connectM.rows;
        for (const unsigned* k = node; k != end; ++k)
            if (in_map(*k) && stands(*k)) scan_element(node, end, *k);
    }
}

template <unsigned Dim>
void node_merger<Dim>::scan_element(const unsigned* node, const unsigned* end, unsigned a)
{
    const double* p = column(pos_, a);
    const box<Dim> around = box_around<Dim>(p, tol_);
    if (!has_company(node, end, a, around)) return;
    find_near(around);
    for (const unsigned b : near_) {
        if (b == a || !stands(b) || std::find(node, end, b) == end) continue;
        // Rounded first: within an element both comparison and order go by the float.
        const auto between = float(distance<Dim>(p, column(pos_, b)));
        if (!(double(between) > tol_)) add(between, a, b);
    }
}

// Whether another node of the element is in the box. Most often none is, and the tree, which is needed
// for the order of several, need not be searched.
template <unsigned Dim>
bool node_merger<Dim>::has_company(const unsigned* node, const unsigned* end, unsigned a,
                                   const box<Dim>& around) const
{
    return std::any_of(node, end, [&](unsigned b) {
        return b != a && in_map(b) && stands(b) && around.contains(column(pos_, b));
    });
}

template <unsigned Dim>
size_t node_merger<Dim>::apply(const dense1D<unsigned>& nodes)
{
    std::stable_sort(pairs_.begin(), pairs_.end(), closer);
    for (const merge_pair& pair : pairs_) absorb(pair.keeper, pair.merged);
    // One node of each pair has stopped being a representative, so none could ever be applied again.
    pairs_.clear();
    for (const unsigned node : nodes) point_to_representative(node);
    return std::exchange(absorbed_, 0);
}

template <unsigned Dim>
void node_merger<Dim>::find_near(const box<Dim>& around)
{
    near_.clear();
    if (tree_.size() != 0) tree_.nodes_in_box(around.low, around.high, near_);
}

// A pair at distance 0 sorts before all others and keeps its place in the scan, so it needs no
// sorting: applied at once, it spares the nodes that it absorbs their own search, and keeps a heap
// of n coincident nodes from giving n * n pairs.
template <unsigned Dim>
void node_merger<Dim>::add(float distance, unsigned keeper, unsigned merged)
{
    if (distance == 0)
        absorb(keeper, merged);
    else
        pairs_.push_back({distance, keeper, merged});
}

template <unsigned Dim>
void node_merger<Dim>::absorb(unsigned keeper, unsigned merged)
{
    if (!stands(keeper) || !stands(merged)) return;
    id_map_[merged] = keeper;
    ++absorbed_;
}

// A node that absorbed others may be absorbed in turn; every node met on the way is shortcut too.
template <unsigned Dim>
void node_merger<Dim>::point_to_representative(unsigned node)
{
    unsigned last = node;
    while (!stands(last)) last = id_map_[last];
    while (node != last) node = std::exchange(id_map_[node], last);
}

// The nodes are distinct and without NO_NODE.
template <unsigned Dim>
int merge_nodes(const dense2D<double>& pos, const dense1D<unsigned>& nodes,
                const dense1D<unsigned>& scanned, dense1D<unsigned>& id_map, double tol)
{
    node_merger<Dim> merger(pos, id_map, tol);
    if (!merger.plant(nodes)) return out_of_memory;
    merger.scan(scanned);
    return int(merger.apply(nodes));
}

template <unsigned Dim>
int merge_within_elements(const dense2D<double>& pos, const dense1D<unsigned>& nodes,
                          dense2D<unsigned>* first, dense2D<unsigned>* last,
                          dense1D<unsigned>& id_map, double tol, bool repeated)
{
    node_merger<Dim> merger(pos, id_map, tol);
    if (!merger.plant(nodes)) return out_of_memory;
    for (size_t total = 0;;) {
        for (const dense2D<unsigned>* connectM = first; connectM != last; ++connectM)
            merger.scan(*connectM);
        const size_t absorbed = merger.apply(nodes);
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
    if (mode != 0)
        return merge_within_elements<Dim>(pos, nodes, first, last, id_map, tol, mode == 2);
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
