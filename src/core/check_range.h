#pragma once

#include <kz3/lattiq/core.h>

#include "core/column.h"

namespace kz3::lattiq::detail {

/// check_IDs, which has no answer for a type outside its table: refuses one with elements.
inline bool check_matrix(const dense2D<unsigned>& connectM, int type, unsigned n)
{
    if (connectM.empty()) return true;
    return type >= ET_NONE && type <= ET_HEXA27 && check_IDs(connectM, element_type(type), n);
}

/// Whether every matrix of the range passes check_matrix; types holds one kind per matrix.
inline bool check_range(const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                        const dense1D<int>& types, unsigned n)
{
    for (size_t i = 0; first + i != last; ++i)
        if (!check_matrix(first[i], types[i], n)) return false;
    return true;
}

} // namespace kz3::lattiq::detail
