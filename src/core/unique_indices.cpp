#include <kz3/lattiq/core.h>

#include "core/id_set.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// The input is read through its container each time: it may share the storage that grows here.
void append_new(dense1D<unsigned>& indices, id_set& known, unsigned id)
{
    if (known.insert(id)) indices.push_back(id);
}

} // namespace

int unique_indices(dense1D<unsigned>& indices, const dense1D<unsigned>& ids)
{
    return unique_indices(indices, ids, ids.sub_vector(0, 0));
}

int unique_indices(dense1D<unsigned>& indices, const dense1D<unsigned>& ids,
                   const dense1D<unsigned>& exclude)
{
    if (ids.size == 0) return 0;

    // An estimate: where it cannot be had, the appending below still may succeed.
    indices.reserve(indices.size + ids.size, 1);
    const size_t bound = id_bound(ids, ids.size);
    const size_t n = ids.size;
    id_set known(bound, n);
    for (const unsigned id : exclude)
        if (id < bound) known.insert(id);
    for (size_t i = 0; i < n; ++i) append_new(indices, known, ids[i]);
    return 0;
}

int unique_indices(dense1D<unsigned>& indices, const dense2D<unsigned>& connectM)
{
    return unique_indices(indices, &connectM, &connectM + 1);
}

int unique_indices(dense1D<unsigned>& indices, const dense2D<unsigned>* first,
                   const dense2D<unsigned>* last)
{
    if (first == last) return 0;
    if (first > last) return -3;

    size_t columns = 0;
    for (const auto* m = first; m != last; ++m) columns += m->cols;
    // The nodes of a mesh are of the order of its elements; more of them grow the list below.
    indices.reserve(indices.size + columns, 1);

    id_set known = id_set_for(first, last);
    for (const auto* m = first; m != last; ++m) {
        if (m->empty()) continue;
        for (size_t e = 0; e < m->cols; ++e)
            for (size_t k = 0; k < m->rows; ++k) append_new(indices, known, (*m)(k, e));
    }
    return 0;
}

} // namespace kz3::lattiq
