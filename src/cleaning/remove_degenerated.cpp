#include <algorithm>
#include <vector>

#include <kz3/lattiq/cleaning.h>

#include "core/column.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// NO_NODE sorts last, so it is the first value found twice only where no node repeats.
bool repeats(const unsigned* node, bool strict, std::vector<unsigned>& sorted)
{
    std::copy_n(node, sorted.size(), sorted.begin());
    std::sort(sorted.begin(), sorted.end());
    const auto twice = std::adjacent_find(sorted.begin(), sorted.end());
    return twice != sorted.end() && (strict || *twice != NO_NODE);
}

} // namespace

int remove_degenerated(dense2D<unsigned>& connectM, dense1D<unsigned>& id_map, bool strict)
{
    std::vector<unsigned> scratch(connectM.rows);
    id_map.clear();
    // There is no result for a map without memory: it stays empty, and the elements go all the same.
    const bool mapped = id_map.resize(connectM.cols, NO_NODE);

    size_t kept = 0;
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        if (repeats(node, strict, scratch)) continue;
        if (e > kept) std::copy_n(node, connectM.rows, column(connectM, kept));
        if (mapped) id_map[e] = unsigned(kept);
        ++kept;
    }
    const size_t removed = connectM.cols - kept;
    connectM.resize(connectM.rows, kept);
    return int(removed);
}

} // namespace kz3::lattiq
