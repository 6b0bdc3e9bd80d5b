#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <limits>
#include <new>

#include <kz3/dense1D.h>
#include <kz3/fixed.h>

namespace kz3 {

/// A matrix: a counted view of columns in a storage that views share.
///
/// Column-major: element (i, j) is vec->data[offset + j*ld + i]. A freshly sized matrix has ld equal
/// to rows; a sub_matrix keeps its parent's ld. A column is always contiguous, the whole matrix only
/// where ld equals rows. A matrix is empty when rows * cols is 0. Copying and assigning share the
/// elements and cost one atomic addition; copy() duplicates them. No access checks its indices.
template <typename T>
class dense2D : private dense1D<T> {
    using base = dense1D<T>;

public:
    using base::offset; ///< place of element (0, 0) in the storage
    using base::vec;    ///< the storage, never null
    std::size_t rows = 0;
    std::size_t cols = 0;
    std::size_t ld = 0; ///< distance in elements between the starts of two columns

    /// An empty matrix with a storage of its own.
    dense2D() = default;

    /// r by c, not initialised; empty if memory is exhausted.
    dense2D(std::size_t r, std::size_t c) { resize(r, c); }

    /// r by c, every element v; empty if memory is exhausted.
    dense2D(std::size_t r, std::size_t c, T v) { resize(r, c, v); }

    /// A view of the same elements.
    dense2D(const dense2D&) = default;
    dense2D& operator=(const dense2D&) = default;
    ~dense2D() = default;

    /// A view of r rows and c columns of the caller's own, stride elements apart; they must outlive
    /// every view. Nothing is copied and the block is never freed; what stands between the columns
    /// is never written. Growth past it, more rows, or a copy() into the view move it to storage of
    /// its own.
    static dense2D wrap(T* elements, std::size_t r, std::size_t c, std::size_t stride)
    {
        dense2D view;
        view.vec->data = elements;
        view.vec->capacity = r == 0 || c == 0 ? 0 : (c - 1) * stride + r;
        view.vec->not_owned = 1;
        view.rows = r;
        view.cols = c;
        view.ld = stride;
        return view;
    }

    /// The same for columns that stand one behind the other.
    static dense2D wrap(T* elements, std::size_t r, std::size_t c)
    {
        return wrap(elements, r, c, r);
    }

    T& operator()(std::size_t i, std::size_t j) { return vec->data[offset + j * ld + i]; }
    const T& operator()(std::size_t i, std::size_t j) const
    {
        return vec->data[offset + j * ld + i];
    }

    bool empty() const { return rows * cols == 0; }

    /// Number of columns that fit in the present storage.
    std::size_t column_capacity() const
    {
        const std::size_t slots = vec->capacity - offset;
        return ld == 0 ? slots : slots / ld;
    }

    /// Becomes a view of the argument; the storage held before is released.
    void shallow_copy(const dense2D& other) { *this = other; }

    /// A view of column j. Iterates over its rows: for (double x : pos.col(j)).
    dense1D<T> col(std::size_t j) { return view1D(j * ld, rows); }
    const dense1D<T> col(std::size_t j) const // NOLINT(readability-const-return-type)
    {
        return view1D(j * ld, rows);
    }

    /// A view of r rows and c columns from (i0, j0) on, with the same ld. No range check.
    dense2D sub_matrix(std::size_t i0, std::size_t j0, std::size_t r, std::size_t c)
    {
        dense2D view(*this);
        view.offset += j0 * ld + i0;
        view.rows = r;
        view.cols = c;
        return view;
    }
    const dense2D sub_matrix(std::size_t i0, std::size_t j0,
                             std::size_t r, // NOLINT(readability-const-return-type)
                             std::size_t c) const
    {
        return const_cast<dense2D*>(this)->sub_matrix(i0, j0, r, c);
    }

    /// A view of all elements in storage order, for a matrix whose ld equals its rows.
    const dense1D<T> as_vector() const // NOLINT(readability-const-return-type)
    {
        return view1D(0, rows * cols);
    }

    /// Takes the argument's shape and a copy of its elements without gaps, and shares nothing with
    /// it afterwards.
    ///
    /// A storage of its own, held alone and large enough, is used again; otherwise the matrix gets a
    /// new one.
    /// @return false if memory is exhausted; this matrix is then unchanged. O(rows * cols).
    bool copy(const dense2D& other)
    {
        const std::size_t n = other.rows * other.cols;
        T* to = nullptr;
        // A block of the caller's may stand in this storage, so what wraps one is never written over.
        const bool apart = vec->exclusive() && other.vec->not_owned == 0;
        if (!apart || vec.get() == other.vec.get() || vec->capacity - offset < n) {
            const Ptr<vector_num<T>> fresh(new (std::nothrow) vector_num<T>);
            if (!fresh || (n != 0 && !fresh->grow(n, 0, 1))) return false;
            to = fresh->data;
            copy_columns(other, to, other.rows);
            vec = fresh;
            offset = 0;
        } else {
            to = vec->data + offset;
            copy_columns(other, to, other.rows);
        }
        rows = other.rows;
        cols = other.cols;
        ld = other.rows;
        return true;
    }

    /// Makes room for r by c, so that a resize up to that shape does not allocate; shape and content
    /// stay.
    ///
    /// @return false if memory is exhausted; nothing is changed then
    bool reserve(std::size_t r, std::size_t c)
    {
        const std::size_t stride = empty() ? r : std::max(r, ld);
        std::size_t needed = 0;
        return slots_for(stride, c, needed) && fit(needed);
    }

    /// Sets the shape; existing columns keep their values, new elements are uninitialised.
    ///
    /// With unchanged or fewer rows the columns stay where they are. With more rows than ld, or with
    /// more rows in a storage that other views hold or the caller owns, they move apart: alone,
    /// within the storage; otherwise into a new one, so that the others keep their elements.
    /// @return false if memory is exhausted; the matrix is then unchanged
    bool resize(std::size_t r, std::size_t c)
    {
        std::size_t needed = 0;
        if (r == 0 || c == 0) {
            ld = r;
        } else if (empty()) {
            if (!slots_for(r, c, needed) || !fit(needed)) return false;
            ld = r;
        } else if (r <= rows || (r <= ld && vec->exclusive())) {
            if (!slots_for(ld, c - 1, needed) || needed + r < needed || !fit(needed + r))
                return false;
        } else if (!spread_columns(r, c)) {
            return false;
        }
        rows = r;
        cols = c;
        return true;
    }

    /// The same, with new elements set to v: new columns, and new rows of the old columns.
    bool resize(std::size_t r, std::size_t c, T v)
    {
        const std::size_t old_rows = empty() ? 0 : rows;
        const std::size_t old_cols = empty() ? 0 : cols;
        if (!resize(r, c)) return false;
        for (std::size_t j = 0; r > old_rows && j < std::min(c, old_cols); ++j)
            std::fill_n(vec->data + offset + j * ld + old_rows, r - old_rows, v);
        for (std::size_t j = old_cols; j < c; ++j) std::fill_n(vec->data + offset + j * ld, r, v);
        return true;
    }

    /// Makes the matrix empty, all dimensions 0; storage and capacity stay.
    void clear() { rows = cols = ld = 0; }

    /// Appends a column of two, amortised O(1). Columns without rows count: they become columns of
    /// two uninitialised rows.
    ///
    /// @return false if the matrix is not empty and has other than 2 rows, or memory is exhausted;
    ///         the matrix is then unchanged
    bool push_back(const vector_fixed<T, 2>& column)
    {
        if (!empty() && rows != 2) return false;
        const std::size_t n = cols;
        if (n == std::numeric_limits<std::size_t>::max()) return false;
        if (empty() || n == column_capacity()) reserve(2, std::max<std::size_t>(2 * n, 4));
        if (!resize(2, n + 1)) return false;
        std::copy_n(column.data, 2, vec->data + offset + n * ld);
        return true;
    }

private:
    dense1D<T> view1D(std::size_t first, std::size_t n) const
    {
        dense1D<T> view(*this);
        view.offset += first;
        view.size = n;
        return view;
    }

    static bool slots_for(std::size_t stride, std::size_t c, std::size_t& slots)
    {
        slots = stride * c;
        return stride == 0 || slots / stride == c;
    }

    // Makes sure that this many slots stand from offset on.
    bool fit(std::size_t slots)
    {
        if (slots > std::numeric_limits<std::size_t>::max() - offset) return false;
        return offset + slots <= vec->capacity || vec->grow(offset + slots, used_slots(), 1);
    }

    // Slots whose values must survive a growth: all of them where other views may hold some.
    std::size_t used_slots() const
    {
        if (vec->count > 1) return vec->capacity;
        return empty() ? 0 : offset + (cols - 1) * ld + rows;
    }

    static void copy_columns(const dense2D& from, T* to, std::size_t stride)
    {
        for (std::size_t j = 0; j < from.cols; ++j)
            std::copy_n(from.vec->data + from.offset + j * from.ld, from.rows, to + j * stride);
    }

    // Gives the columns a stride of r, which is above rows, and room for c of them.
    bool spread_columns(std::size_t r, std::size_t c)
    {
        std::size_t needed = 0;
        if (!slots_for(r, c, needed)) return false;
        const std::size_t kept = std::min(cols, c);
        if (!vec->exclusive()) {
            const Ptr<vector_num<T>> fresh(new (std::nothrow) vector_num<T>);
            if (!fresh || !fresh->grow(needed, 0, 1)) return false;
            copy_columns(sub_matrix(0, 0, rows, kept), fresh->data, r);
            vec = fresh;
            offset = 0;
        } else {
            if (!fit(needed)) return false;
            T* first = vec->data + offset;
            for (std::size_t j = kept; j-- > 0;)
                std::copy_backward(first + j * ld, first + j * ld + rows, first + j * r + rows);
        }
        ld = r;
        return true;
    }
};

/// A matrix from its columns, all of one height: columns<unsigned>({{0, 1, 2}, {2, 1, 3}}).
/// Empty if memory is exhausted.
template <typename T>
dense2D<T> columns(std::initializer_list<std::initializer_list<T>> lists)
{
    dense2D<T> m;
    if (lists.size() == 0 || !m.resize(lists.begin()->size(), lists.size())) return m;
    std::size_t j = 0;
    for (const auto& list : lists)
        std::copy_n(list.begin(), m.rows, m.vec->data + m.offset + j++ * m.ld);
    return m;
}

} // namespace kz3
