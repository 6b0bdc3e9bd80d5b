#include <kz3/lattiq/connectivity.h>

#include <algorithm>
#include <numeric>

#include "core/column.h"
#include "core/out_of_memory.h"
#include "core/runs.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

struct extent {
    unsigned largest = 0; // node, holes apart
    size_t entries = 0;   // without holes
};

extent measure(const dense2D<unsigned>& connectM)
{
    extent found;
    for_each_run(connectM, [&](const unsigned* node, size_t n) {
        unsigned above = 0; // one above the largest: a hole counts as 0 by wrapping round
        size_t holes = 0;
        for (size_t i = 0; i < n; ++i) {
            above = std::max(above, node[i] + 1);
            holes += node[i] == NO_NODE ? 1U : 0U;
        }
        if (above != 0) found.largest = std::max(found.largest, above - 1);
        found.entries += n - holes;
        return true;
    });
    return found;
}

// Entry k becomes the position one past row k.
void count_rows(const dense2D<unsigned>& connectM, dense1D<unsigned>& row_ends)
{
    unsigned* count = row_ends.begin();
    for_each_run(connectM, [=](const unsigned* node, size_t n) {
        for (size_t i = 0; i < n; ++i)
            if (node[i] != NO_NODE) ++count[node[i]];
        return true;
    });
    std::partial_sum(row_ends.begin(), row_ends.end(), row_ends.begin());
}

// Filled from the back, so that rows list elements in rising order and every end has become the
// start of its row when all is done.
void fill_rows(const dense2D<unsigned>& connectM, dense1D<unsigned>& row_ends,
               dense1D<unsigned>& row_values)
{
    unsigned* end = row_ends.begin();
    unsigned* value = row_values.begin();
    for (size_t e = connectM.cols; e-- > 0;) {
        const unsigned* node = column(connectM, e);
        for (size_t k = connectM.rows; k-- > 0;)
            if (node[k] != NO_NODE) value[--end[node[k]]] = unsigned(e);
    }
}

} // namespace

int get_connected_elements(const dense2D<unsigned>& connectM, dense1D<unsigned>& row_starts,
                           dense1D<unsigned>& row_values)
{
    row_starts.clear();
    row_values.clear();
    if (connectM.empty()) return row_starts.resize(1, 0U) ? 0 : out_of_memory;

    const extent nodes = measure(connectM);
    if (nodes.entries > NO_NODE) return out_of_memory; // positions have 32 bits
    if (!row_starts.resize(size_t(nodes.largest) + 2, 0U)) return out_of_memory;
    if (!row_values.resize(nodes.entries)) {
        row_values.clear();
        row_starts.clear_hard();
        return out_of_memory;
    }
    count_rows(connectM, row_starts);
    fill_rows(connectM, row_starts, row_values);
    return 0;
}

} // namespace kz3::lattiq
