#include <kz3/lattiq/connectivity.h>

#include <algorithm>

#include "core/column.h"
#include "core/runs.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// Holes take part, so that a single one makes the result NO_NODE.
unsigned largest_entry(const dense2D<unsigned>& connectM)
{
    unsigned largest = 0;
    for_each_run(connectM, [&](const unsigned* node, size_t n) {
        largest = std::max(largest, *std::max_element(node, node + n));
        return true;
    });
    return largest;
}

} // namespace

int get_ancestors(const dense2D<unsigned>& connectM, dense1D<unsigned>& ancestors)
{
    if (connectM.empty()) return 0;
    if (ancestors.size == 0) {
        const unsigned largest = largest_entry(connectM);
        if (largest == NO_NODE) return -1;                              // connectM
        if (!ancestors.resize(size_t(largest) + 1, NO_NODE)) return -2; // ancestors
    }

    const size_t n = std::min(ancestors.size, size_t(NO_NODE)); // a hole is never below n
    unsigned* last = ancestors.begin();
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        for (size_t k = 0; k < connectM.rows; ++k)
            if (node[k] < n) last[node[k]] = unsigned(e);
    }
    return 0;
}

} // namespace kz3::lattiq
