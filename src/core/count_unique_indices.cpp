#include <kz3/lattiq/core.h>

#include "core/id_set.h"
#include "core/runs.h"

namespace kz3::lattiq {
using namespace detail;

int count_unique_indices(const dense2D<unsigned>& connectM)
{
    return count_unique_indices(&connectM, &connectM + 1);
}

int count_unique_indices(const dense2D<unsigned>* first, const dense2D<unsigned>* last)
{
    if (first == last) return 0;
    if (first > last) return -2;

    id_set known = id_set_for(first, last);
    for (const auto* m = first; m != last; ++m)
        for_each_run(*m, [&](const unsigned* run, size_t n) {
            for (size_t i = 0; i < n; ++i) known.insert(run[i]);
            return true;
        });
    return int(known.size());
}

} // namespace kz3::lattiq
