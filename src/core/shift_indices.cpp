#include <kz3/lattiq/core.h>

#include "core/runs.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

void shift_nodes(unsigned* ids, size_t n, unsigned by)
{
    for (size_t i = 0; i < n; ++i) ids[i] += ids[i] == NO_NODE ? 0 : by;
}

void shift_all(unsigned* ids, size_t n, unsigned by)
{
    for (size_t i = 0; i < n; ++i) ids[i] += by;
}

} // namespace

int shift_indices(dense1D<unsigned>& ids, int shift)
{
    if (shift == 0 || ids.size == 0) return 0;
    shift_nodes(ids.begin(), ids.size, unsigned(shift));
    return 0;
}

int shift_indices(dense2D<unsigned>& connectM, int shift, element_type type)
{
    if (shift == 0) return 0;
    // No hole is expected in a plain kind, and none is spared there.
    const auto move = type == ET_FACE_MIX || type == ET_SOLID_MIX ? shift_nodes : shift_all;
    for_each_run(connectM, [=](unsigned* run, size_t n) {
        move(run, n, unsigned(shift));
        return true;
    });
    return 0;
}

} // namespace kz3::lattiq
