#pragma once

#include <cstddef>

#include <kz3/dense2D.h>

namespace kz3::lattiq {

using std::size_t;

namespace detail {

/// First element of column j: the one place of the library that knows how columns are laid out.
template <typename T>
T* column(dense2D<T>& m, size_t j)
{
    return m.vec->data + m.offset + j * m.ld;
}

template <typename T>
const T* column(const dense2D<T>& m, size_t j)
{
    return m.vec->data + m.offset + j * m.ld;
}

} // namespace detail
} // namespace kz3::lattiq
