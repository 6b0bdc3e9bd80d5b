#pragma once

#include <set>

#include <kz3/lattiq/core.h>

namespace plain {

/// Appends what a set does not know yet, matrix by matrix, column by column.
inline void unique_indices(kz3::dense1D<unsigned>& indices, const kz3::dense2D<unsigned>* first,
                           const kz3::dense2D<unsigned>* last)
{
    std::set<unsigned> known{kz3::lattiq::NO_NODE};
    for (; first != last; ++first)
        for (std::size_t e = 0; e < first->cols; ++e)
            for (std::size_t k = 0; k < first->rows; ++k)
                if (known.insert((*first)(k, e)).second) indices.push_back((*first)(k, e));
}

/// The same for a list, with IDs that are known from the start.
inline void unique_indices(kz3::dense1D<unsigned>& indices, const kz3::dense1D<unsigned>& ids,
                           const kz3::dense1D<unsigned>& exclude)
{
    std::set<unsigned> known(exclude.begin(), exclude.end());
    known.insert(kz3::lattiq::NO_NODE);
    for (const unsigned id : ids)
        if (known.insert(id).second) indices.push_back(id);
}

} // namespace plain
