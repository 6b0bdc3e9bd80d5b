#pragma once

#include "core/column.h"

namespace kz3::lattiq::detail {

/// Calls visit(first, n) for the elements of m in storage order, as few contiguous runs as they
/// form: one for a matrix without gaps, otherwise one per column. visit returns whether to go on.
/// Returns false where a visit did.
template <typename Matrix, typename Visitor>
bool for_each_run(Matrix& m, Visitor visit)
{
    if (m.empty()) return true;
    if (m.ld == m.rows) return visit(column(m, 0), m.rows * m.cols);
    for (size_t j = 0; j < m.cols; ++j)
        if (!visit(column(m, j), m.rows)) return false;
    return true;
}

} // namespace kz3::lattiq::detail
