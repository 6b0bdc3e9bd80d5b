#include <algorithm>

#include <kz3/lattiq/core.h>

#include "core/runs.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

unsigned raise_to_largest(unsigned largest, const unsigned* ids, size_t n)
{
    for (size_t i = 0; i < n; ++i) largest = std::max(largest, ids[i] == NO_NODE ? 0 : ids[i]);
    return largest;
}

} // namespace

unsigned max_ID(const dense1D<unsigned>& ids)
{
    if (ids.size == 0) return NO_NODE;
    return raise_to_largest(0, ids.begin(), ids.size);
}

unsigned max_ID(const dense2D<unsigned>& ids)
{
    if (ids.empty()) return NO_NODE;
    unsigned largest = 0;
    for_each_run(ids, [&](const unsigned* run, size_t n) {
        largest = raise_to_largest(largest, run, n);
        return true;
    });
    return largest;
}

} // namespace kz3::lattiq
