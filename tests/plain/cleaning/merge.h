#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>

/// Merging step by step: every box search goes down a plain recursive tree, every pair is kept and
/// sorted, and nothing is left out because it could have no effect. For coordinates of any height.
namespace plain {

using kz3::dense1D;
using kz3::dense2D;
using kz3::lattiq::NO_NODE;
using ids = std::vector<unsigned>;

/// MT19937 from a seed table of powers of 69069.
class twister {
public:
    twister()
    {
        state_[0] = 1;
        for (int i = 1; i < 624; ++i) state_[i] = state_[i - 1] * 69069U;
    }

    std::uint32_t draw()
    {
        if (used_ == 624) {
            for (int i = 0; i < 624; ++i) {
                const std::uint32_t y =
                    (state_[i] & 0x80000000U) | (state_[(i + 1) % 624] & 0x7FFFFFFFU);
                state_[i] = state_[(i + 397) % 624] ^ (y >> 1) ^ (y % 2 == 1 ? 0x9908B0DFU : 0U);
            }
            used_ = 0;
        }
        std::uint32_t y = state_[used_++];
        y ^= y >> 11;
        y ^= (y << 7) & 0x9D2C5680U;
        y ^= (y << 15) & 0xEFC60000U;
        y ^= y >> 18;
        return y;
    }

private:
    std::uint32_t state_[624];
    int used_ = 624;
};

class tree {
public:
    tree(const dense2D<double>& pos, const ids& nodes) : pos_(pos)
    {
        ids order(nodes.size());
        for (std::size_t k = 0; k < order.size(); ++k) order[k] = unsigned(k);
        twister random;
        for (std::size_t i = 1; i < order.size(); ++i)
            std::swap(order[i], order[random.draw() % std::uint32_t(i + 1)]);
        for (const unsigned k : order) insert(nodes[k]);
    }

    bool empty() const { return entries_.empty(); }

    ids in_box(const std::vector<double>& low, const std::vector<double>& high) const
    {
        ids found;
        visit(0, 0, low, high, found);
        return found;
    }

private:
    struct entry {
        unsigned node;
        int left, right;
    };

    void insert(unsigned node)
    {
        entries_.push_back({node, -1, -1});
        const int added = int(entries_.size()) - 1;
        int at = 0;
        for (std::size_t axis = 0; at != added; axis = (axis + 1) % pos_.rows) {
            const bool left = pos_(axis, entries_[at].node) > pos_(axis, node);
            int& child = left ? entries_[at].left : entries_[at].right;
            if (child < 0) child = added;
            at = child;
        }
    }

    void visit(int at, std::size_t axis, const std::vector<double>& low,
               const std::vector<double>& high, ids& found) const
    {
        const entry& here = entries_[at];
        const double split = pos_(axis, here.node);
        const std::size_t next = (axis + 1) % pos_.rows;
        const bool upper = !(split > high[axis]);
        const bool lower = split >= low[axis];
        if (upper && here.right >= 0) visit(here.right, next, low, high, found);
        if (lower && here.left >= 0) visit(here.left, next, low, high, found);
        if (!upper || !lower) return;
        for (std::size_t d = 0; d < pos_.rows; ++d)
            if (!(pos_(d, here.node) >= low[d]) || pos_(d, here.node) > high[d]) return;
        found.push_back(here.node);
    }

    const dense2D<double>& pos_;
    std::vector<entry> entries_;
};

struct merge_pair {
    float distance;
    unsigned keeper;
    unsigned merged;
};

inline ids unique_ids(const ids& list)
{
    ids found;
    for (const unsigned id : list)
        if (id != NO_NODE && std::find(found.begin(), found.end(), id) == found.end())
            found.push_back(id);
    return found;
}

inline ids list_of(const dense1D<unsigned>& list)
{
    return ids(list.begin(), list.end());
}

inline bool valid(const ids& list, std::size_t n)
{
    return std::all_of(list.begin(), list.end(),
                       [n](unsigned id) { return id == NO_NODE || id < n; });
}

inline double distance(const dense2D<double>& pos, unsigned a, unsigned b)
{
    double sum = 0;
    for (std::size_t d = 0; d < pos.rows; ++d) {
        const double along = pos(d, a) - pos(d, b);
        sum += along * along;
    }
    return std::sqrt(sum);
}

inline ids near_nodes(const dense2D<double>& pos, const tree& nodes, unsigned a, double tol)
{
    std::vector<double> low, high;
    for (std::size_t d = 0; d < pos.rows; ++d) {
        low.push_back(pos(d, a) - tol);
        high.push_back(pos(d, a) + tol);
    }
    return nodes.empty() ? ids() : nodes.in_box(low, high);
}

inline ids identity(std::size_t n)
{
    ids map(n);
    for (std::size_t j = 0; j < n; ++j) map[j] = unsigned(j);
    return map;
}

/// Distances that are not a number go last.
inline int apply(std::vector<merge_pair>& pairs, ids& id_map)
{
    std::stable_sort(pairs.begin(), pairs.end(), [](const merge_pair& p, const merge_pair& q) {
        if (std::isnan(p.distance)) return false;
        return std::isnan(q.distance) || p.distance < q.distance;
    });
    int count = 0;
    for (const merge_pair& pair : pairs)
        if (id_map[pair.keeper] == pair.keeper && pair.merged != NO_NODE &&
            id_map[pair.merged] == pair.merged) {
            id_map[pair.merged] = pair.keeper;
            ++count;
        }
    return count;
}

inline void compress(const ids& nodes, ids& id_map)
{
    for (const unsigned node : nodes) {
        unsigned x = node;
        while (id_map[x] != x) x = id_map[x];
        id_map[node] = x;
    }
}

inline int merge_lists(const dense2D<double>& pos, const ids& list_a, const ids& list_b,
                       ids& id_map, double tol)
{
    id_map.clear();
    if (pos.cols == 0) return 0;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (!valid(list_a, pos.cols)) return -2;
    if (!valid(list_b, pos.cols)) return -3;
    if (!(tol >= 0)) return -4;
    if (list_a.empty() || list_b.empty()) return 0;

    const ids unique_a = unique_ids(list_a);
    const tree nodes(pos, unique_a);
    id_map = identity(pos.cols);
    std::vector<merge_pair> pairs;
    for (const unsigned a : list_b) {
        if (a == NO_NODE) continue;
        for (const unsigned b : near_nodes(pos, nodes, a, tol)) {
            if (b == a) continue;
            const double d = distance(pos, a, b);
            if (!(d > tol)) pairs.push_back({float(d), a, b});
        }
    }
    const int count = apply(pairs, id_map);
    compress(unique_a, id_map);
    return count;
}

inline void change(dense2D<unsigned>& connectM, const ids& id_map)
{
    for (std::size_t j = 0; j < connectM.cols; ++j)
        for (std::size_t i = 0; i < connectM.rows; ++i)
            if (connectM(i, j) < id_map.size()) connectM(i, j) = id_map[connectM(i, j)];
}

/// One pass over one connectivity within its elements.
inline void scan_elements(const dense2D<double>& pos, const tree& nodes,
                          const dense2D<unsigned>& connectM, const ids& id_map, double tol,
                          std::vector<merge_pair>& pairs)
{
    for (std::size_t j = 0; j < connectM.cols; ++j)
        for (std::size_t i = 0; i < connectM.rows; ++i) {
            const unsigned a = connectM(i, j);
            if (a == NO_NODE || id_map[a] != a) continue;
            const ids found = near_nodes(pos, nodes, a, tol);
            if (found.size() == 1) continue;
            for (const unsigned b : found) {
                if (b == a || id_map[b] != b) continue;
                bool shared = false;
                for (std::size_t k = 0; k < connectM.rows; ++k) shared |= connectM(k, j) == b;
                if (!shared) continue;
                const float d = float(distance(pos, a, b));
                if (!(double(d) > tol)) pairs.push_back({d, a, b});
            }
        }
}

inline int merge_range(const dense2D<double>& pos, dense2D<unsigned>* first,
                       dense2D<unsigned>* last, ids& id_map, double tol, unsigned mode)
{
    id_map.clear();
    if (pos.cols == 0 || first == last) return 0;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (last < first) return -3;
    if (!(tol >= 0)) return -5;
    if (mode > 2) return -6;
    ids all;
    for (const dense2D<unsigned>* m = first; m != last; ++m)
        for (std::size_t j = 0; j < m->cols; ++j)
            for (std::size_t i = 0; i < m->rows; ++i) all.push_back((*m)(i, j));
    const ids unique = unique_ids(all);
    if (unique.empty()) return 0;
    if (!valid(unique, pos.cols)) return -2;

    if (mode == 0) {
        const int count = merge_lists(pos, unique, unique, id_map, tol);
        for (dense2D<unsigned>* m = first; m != last; ++m) change(*m, id_map);
        return count;
    }
    const tree nodes(pos, unique);
    id_map = identity(pos.cols);
    std::vector<merge_pair> pairs;
    for (int total = 0;;) {
        for (const dense2D<unsigned>* m = first; m != last; ++m)
            scan_elements(pos, nodes, *m, id_map, tol, pairs);
        const int count = apply(pairs, id_map);
        compress(unique, id_map);
        for (dense2D<unsigned>* m = first; m != last; ++m) change(*m, id_map);
        total += count;
        if (mode == 1 || count == 0) return total;
    }
}

inline int merge_coordinates(dense2D<double>& pos, ids& id_map, double tol)
{
    id_map.clear();
    if (pos.cols == 0) return 0;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (!(tol >= 0)) return -3;
    dense2D<double> moved;
    moved.copy(pos);
    const ids all = identity(pos.cols);
    const int count = merge_lists(pos, all, all, id_map, tol);
    for (std::size_t j = 0; j < pos.cols; ++j)
        if (id_map[j] != j)
            for (std::size_t d = 0; d < pos.rows; ++d) moved(d, j) = pos(d, id_map[j]);
    pos.shallow_copy(moved);
    return count;
}

} // namespace plain
