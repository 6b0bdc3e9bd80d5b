#include <algorithm>
#include <numeric>
#include <span>

#include <kz3/lattiq/cleaning.h>
#include <kz3/lattiq/core.h>

#include "cleaning/merge_distance.h"
#include "cleaning/merge_nodes.h"
#include "cleaning/merge_pairs.h"
#include "cleaning/representatives.h"
#include "core/column.h"
#include "core/out_of_memory.h"
#include "core/runs.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

constexpr double default_tol = 1e-6;

std::span<unsigned> span_of(dense1D<unsigned>& list)
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

// An element holds all candidates for its nodes, so no tree is needed to find them.
template <unsigned Dim>
void scan_element(const dense2D<double>& pos, const unsigned* node, const unsigned* end, double tol,
                  const representatives& map, merge_pairs& pairs)
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

// The nodes are distinct and without NO_NODE; their order is lost.
int merge_list(const dense2D<double>& pos, dense1D<unsigned>& nodes, dense1D<unsigned>& id_map,
               double tol)
{
    if (!make_identity(id_map, pos.cols)) return out_of_memory;
    representatives map(id_map);
    merge_one_list(pos, span_of(nodes), tol, map);
    return int(map.settle());
}

template <unsigned Dim>
int merge_within_elements(const dense2D<double>& pos, dense2D<unsigned>* first,
                          dense2D<unsigned>* last, dense1D<unsigned>& id_map, double tol,
                          bool repeated)
{
    if (!make_identity(id_map, pos.cols)) return out_of_memory;
    representatives map(id_map);
    merge_pairs pairs(map);
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

// Whether the entries are 0, 1, 2 and so on, as where each element brings nodes of its own.
bool in_order(const dense2D<unsigned>* first, const dense2D<unsigned>* last)
{
    size_t next = 0;
    bool ordered = true;
    for (; first != last && ordered; ++first)
        ordered = for_each_run(*first, [&](const unsigned* node, size_t n) {
            if (n == 0 || node[0] != next) return false;
            for (size_t i = 1; i < n; ++i)
                if (node[i] != next + i) return false;
            next += n;
            return true;
        });
    return ordered && next < NO_NODE;
}

// The distinct nodes of a range in the order in which they come first.
void list_nodes(dense1D<unsigned>& nodes, const dense2D<unsigned>* first,
                const dense2D<unsigned>* last)
{
    if (!in_order(first, last)) {
        unique_indices(nodes, first, last);
        return;
    }
    size_t n = 0;
    for (; first != last; ++first) n += first->rows * first->cols;
    nodes.resize(n);
    std::iota(nodes.begin(), nodes.end(), 0U);
}

int merge_range(const dense2D<double>& pos, dense1D<unsigned>& nodes, dense2D<unsigned>* first,
                dense2D<unsigned>* last, dense1D<unsigned>& id_map, double tol)
{
    const int merged = merge_list(pos, nodes, id_map, tol);
    for (dense2D<unsigned>* connectM = first; connectM != last; ++connectM)
        change_indices(*connectM, id_map);
    return merged;
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
    if (same_list(indices1, indices2)) return merge_list(pos, nodes, id_map, tol);
    // Scanned again, a node finds nothing new.
    dense1D<unsigned> scanned;
    unique_indices(scanned, indices2);
    if (!make_identity(id_map, pos.cols)) return out_of_memory;
    representatives map(id_map);
    merge_two_lists(pos, span_of(nodes), span_of(scanned), tol, map);
    return int(map.settle());
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
    list_nodes(nodes, first, last);
    if (nodes.size == 0) return 0;
    if (!check_IDs(nodes, unsigned(pos.cols))) return -2; // a connectivity

    if (mode == 0) return merge_range(pos, nodes, first, last, id_map, tol);
    return pos.rows == 2 ? merge_within_elements<2>(pos, first, last, id_map, tol, mode == 2)
                         : merge_within_elements<3>(pos, first, last, id_map, tol, mode == 2);
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
    const int merged = merge_list(pos, nodes, id_map, tol);
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
