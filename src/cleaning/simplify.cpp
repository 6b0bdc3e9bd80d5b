#include <algorithm>
#include <numeric>

#include <kz3/lattiq/cleaning.h>
#include <kz3/lattiq/connectivity.h>
#include <kz3/lattiq/core.h>

#include "core/column.h"
#include "core/out_of_memory.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// Moves the marked columns from start on together, in their order; returns how many columns stay.
size_t compact(dense2D<double>& pos, const dense1D<unsigned>& marks, dense1D<unsigned>& id_map,
               size_t start)
{
    size_t kept = start;
    for (size_t j = start; j < pos.cols; ++j) {
        if (marks[j] == NO_NODE) {
            id_map[j] = NO_NODE;
            continue;
        }
        if (j > kept) std::copy_n(column(pos, j), pos.rows, column(pos, kept));
        id_map[j] = unsigned(kept++);
    }
    return kept;
}

} // namespace

int simplify(dense2D<double>& pos, dense2D<unsigned>* first, dense2D<unsigned>* last,
             dense1D<unsigned>& id_map, unsigned start)
{
    const size_t n = pos.cols;
    id_map.clear();
    if (first == last) return 0;
    if (last < first) return -3; // last
    for (const dense2D<unsigned>* connectM = first; connectM != last; ++connectM)
        if (!check_IDs(*connectM, unsigned(n))) return -2; // a connectivity
    if (pos.empty() || start >= n) return 0;
    dense1D<unsigned> marks(n, NO_NODE);
    if (marks.size != n || !id_map.resize(n)) {
        id_map.clear();
        return out_of_memory;
    }

    for (const dense2D<unsigned>* connectM = first; connectM != last; ++connectM)
        get_ancestors(*connectM, marks);
    std::iota(id_map.begin(), id_map.end(), 0U);
    const size_t kept = compact(pos, marks, id_map, start);
    pos.resize(pos.rows, kept);
    for (dense2D<unsigned>* connectM = first; kept < n && connectM != last; ++connectM)
        change_indices(*connectM, id_map);
    return int(n - kept);
}

int simplify(dense2D<double>& pos, dense2D<unsigned>& connectM, dense1D<unsigned>& id_map,
             unsigned start)
{
    return simplify(pos, &connectM, &connectM + 1, id_map, start);
}

int simplify(dense2D<double>& pos, dense2D<unsigned>& connectM)
{
    dense1D<unsigned> id_map;
    return simplify(pos, connectM, id_map, 0);
}

} // namespace kz3::lattiq
