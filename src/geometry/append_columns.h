#pragma once

#include <algorithm>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>

#include "core/column.h"
#include "core/prefetch.h"
#include "geometry/height.h"

namespace kz3::lattiq::detail {

/// Appends n columns of src to dst, the k-th being column id(k); the two may be one matrix. The height
/// becomes the larger of the two. Rows that a column lacks hold `missing`, also those of columns that
/// dst held without any rows, and so does a column whose ID is none of src's.
///
/// The room at least doubles when it must grow, so that repeated appends stay cheap. False if memory
/// is exhausted; dst is then unchanged.
template <typename T, typename Id>
bool append_columns_by(const dense2D<T>& src, size_t n, Id id, dense2D<T>& dst, T missing)
{
    const size_t height = std::max(src.rows, dst.rows);
    const size_t held = dst.cols;
    const size_t known = src.cols; // src may grow along with dst
    const size_t rows = src.rows;
    if (held + n > dst.column_capacity()) dst.reserve(height, held + std::max(n, held));
    const bool lower = rows < height || (dst.rows < height && held != 0);
    if (!(lower ? dst.resize(height, held + n, missing) : dst.resize(height, held + n)))
        return false;

    // A column that has its ID far away is asked for this many turns before it is copied.
    constexpr size_t ahead = 16;
    with_height(rows, [&](auto fixed_rows) {
        for (size_t k = 0; k < n; ++k) {
            if (const size_t soon = k + ahead < n ? id(k + ahead) : known; soon < known)
                prefetch(column(src, soon));
            const size_t j = id(k);
            if (j < known)
                std::copy_n(column(src, j), size_t(fixed_rows), column(dst, held + k));
            else
                std::fill_n(column(dst, held + k), height, missing);
        }
    });
    return true;
}

inline bool append_selected_columns(const dense2D<double>& src, const dense1D<unsigned>& ids,
                                    dense2D<double>& dst)
{
    return append_columns_by(
        src, ids.size, [&](size_t k) { return ids[k]; }, dst, 0.0);
}

inline bool append_selected_columns(const dense2D<unsigned>& src, const dense1D<unsigned>& ids,
                                    dense2D<unsigned>& dst)
{
    return append_columns_by(
        src, ids.size, [&](size_t k) { return ids[k]; }, dst, 0xFFFFFFFFU);
}

inline bool append_columns(const dense2D<unsigned>& src, dense2D<unsigned>& dst)
{
    return append_columns_by(
        src, src.cols, [](size_t k) { return k; }, dst, 0xFFFFFFFFU);
}

} // namespace kz3::lattiq::detail
