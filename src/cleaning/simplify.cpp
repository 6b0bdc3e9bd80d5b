#include <algorithm>
#include <numeric>
#include <type_traits>

#include <kz3/lattiq/cleaning.h>
#include <kz3/lattiq/core.h>

#include "core/column.h"
#include "core/out_of_memory.h"
#include "core/runs.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// Lets the map hold something else than NO_NODE for the nodes used.
void mark_nodes(const dense2D<unsigned>& connectM, dense1D<unsigned>& id_map)
{
    const size_t n = std::min(id_map.size, size_t(NO_NODE)); // a hole is never below n
    unsigned* marks = id_map.begin();
    for_each_run(connectM, [=](const unsigned* node, size_t entries) {
        for (size_t i = 0; i < entries; ++i)
            if (node[i] < n) marks[node[i]] = 0;
        return true;
    });
}

// Moves the marked columns from start on together, in their order; returns how many columns stay.
template <typename Rows>
size_t compact(dense2D<double>& pos, Rows rows, dense1D<unsigned>& id_map, size_t start)
{
    size_t kept = start;
    unsigned* map = id_map.begin();
    for (size_t j = start; j < pos.cols; ++j) {
        if (map[j] == NO_NODE) continue;
        if (j > kept) std::copy_n(column(pos, j), size_t(rows), column(pos, kept));
        map[j] = unsigned(kept++);
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
    if (!id_map.resize(n, NO_NODE)) {
        id_map.clear();
        return out_of_memory;
    }

    for (const dense2D<unsigned>* connectM = first; connectM != last; ++connectM)
        mark_nodes(*connectM, id_map);
    std::iota(id_map.begin(), id_map.begin() + start, 0U);
    const size_t kept = pos.rows == 3
                            ? compact(pos, std::integral_constant<size_t, 3>{}, id_map, start)
                            : compact(pos, pos.rows, id_map, start);
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
