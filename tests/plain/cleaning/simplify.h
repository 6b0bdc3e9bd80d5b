#pragma once

#include <cstddef>

#include <kz3/lattiq/connectivity.h>
#include <kz3/lattiq/core.h>

/// Removal of unused nodes step by step: the last element of each node is what marks it as used.
namespace plain {

inline int simplify(kz3::dense2D<double>& pos, kz3::dense2D<unsigned>* first,
                    kz3::dense2D<unsigned>* last, kz3::dense1D<unsigned>& id_map, unsigned start)
{
    using namespace kz3;
    using namespace kz3::lattiq;
    const std::size_t n = pos.cols;
    id_map.size = 0;
    if (first == last) return 0;
    if (last < first) return -3;
    for (auto* m = first; m != last; ++m)
        if (!check_IDs(*m, unsigned(n))) return -2;
    if (pos.rows * pos.cols == 0) return 0;
    if (start >= n) return 0;
    dense1D<unsigned> marks;
    if (!marks.resize(n, NO_NODE) || !id_map.resize(n, NO_NODE)) return -199;
    for (auto* m = first; m != last; ++m) get_ancestors(*m, marks);
    for (std::size_t j = 0; j < n; ++j) id_map[j] = unsigned(j);
    std::size_t k = start;
    for (std::size_t j = start; j < n; ++j) {
        if (marks[j] < NO_NODE) {
            if (j > k) {
                for (std::size_t i = 0; i < pos.rows; ++i) pos(i, k) = pos(i, j);
                id_map[j] = unsigned(k);
            }
            ++k;
        } else {
            id_map[j] = NO_NODE;
        }
    }
    pos.resize(pos.rows, k);
    if (k < n)
        for (auto* m = first; m != last; ++m) change_indices(*m, id_map);
    return int(n - k);
}

} // namespace plain
