#include <algorithm>

#include <kz3/lattiq/core.h>

#include "core/runs.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// The larger of `above` and what is one above the largest ID: a hole counts as 0 by wrapping round.
unsigned raise(unsigned above, const unsigned* ids, size_t n)
{
    for (size_t i = 0; i < n; ++i) above = std::max(above, ids[i] + 1);
    return above;
}

} // namespace

unsigned max_ID(const dense1D<unsigned>& ids)
{
    if (ids.size == 0) return NO_NODE;
    return raise(1, ids.begin(), ids.size) - 1;
}

unsigned max_ID(const dense2D<unsigned>& ids)
{
    if (ids.empty()) return NO_NODE;
    unsigned above = 1; // where all are holes the largest counts as 0
    for_each_run(ids, [&](const unsigned* run, size_t n) {
        above = raise(above, run, n);
        return true;
    });
    return above - 1;
}

} // namespace kz3::lattiq
