#include <kz3/lattiq/core.h>

#include "core/runs.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

void map_nodes(unsigned* ids, size_t n, const dense1D<unsigned>& new_ids)
{
    const unsigned* table = new_ids.begin();
    for (size_t i = 0; i < n; ++i)
        if (ids[i] < new_ids.size) ids[i] = table[ids[i]];
}

} // namespace

void change_indices(dense1D<unsigned>& ids, const dense1D<unsigned>& new_ids)
{
    map_nodes(ids.begin(), ids.size, new_ids);
}

void change_indices(dense2D<unsigned>& connectM, const dense1D<unsigned>& new_ids)
{
    for_each_run(connectM, [&](unsigned* run, size_t n) {
        map_nodes(run, n, new_ids);
        return true;
    });
}

} // namespace kz3::lattiq
