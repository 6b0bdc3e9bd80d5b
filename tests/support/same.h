#pragma once

#include <cmath>
#include <vector>

#include <gtest/gtest.h>
#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>

using kz3::columns;
using kz3::dense1D;
using kz3::dense2D;
using kz3::matrix_fixed;
using kz3::symmetric_fixed;
using kz3::vector_fixed;

/// NO_NODE, as it reads best inside a literal.
inline constexpr unsigned none = kz3::lattiq::NO_NODE;

/// Equal values, or both not a number.
template <typename T>
bool equal(const T& a, const T& b)
{
    return a == b || (a != a && b != b);
}

/// Equal sizes and elements; a failure names the first place that differs, with both values.
template <typename T>
testing::AssertionResult same(const dense1D<T>& a, const dense1D<T>& b)
{
    if (a.size != b.size)
        return testing::AssertionFailure() << "size " << a.size << " against " << b.size;
    for (std::size_t i = 0; i < a.size; ++i)
        if (!equal(a[i], b[i]))
            return testing::AssertionFailure() << "[" << i << "]: " << a[i] << " against " << b[i];
    return testing::AssertionSuccess();
}

/// Equal shapes and elements. Two empty matrices need not agree in rows or columns.
template <typename T>
testing::AssertionResult same(const dense2D<T>& a, const dense2D<T>& b)
{
    if (a.empty() && b.empty()) return testing::AssertionSuccess();
    if (a.rows != b.rows || a.cols != b.cols)
        return testing::AssertionFailure()
               << a.rows << " x " << a.cols << " against " << b.rows << " x " << b.cols;
    for (std::size_t j = 0; j < a.cols; ++j)
        for (std::size_t i = 0; i < a.rows; ++i)
            if (!equal(a(i, j), b(i, j)))
                return testing::AssertionFailure() << "row " << i << ", column " << j << ": "
                                                   << a(i, j) << " against " << b(i, j);
    return testing::AssertionSuccess();
}

/// A matrix as a strided view inside a larger one: two rows of canaries above, three below, and one
/// column on either side.
template <typename T>
class strided {
public:
    explicit strided(const dense2D<T>& m, T canary_value = T(12345))
        : parent(m.rows + 5, m.cols + 2, canary_value),
          view(parent.sub_matrix(2, 1, m.rows, m.cols)),
          canary(canary_value)
    {
        for (std::size_t j = 0; j < m.cols; ++j)
            for (std::size_t i = 0; i < m.rows; ++i) view(i, j) = m(i, j);
    }

    dense2D<T> parent;
    dense2D<T> view;
    T canary;

    /// Whether all elements of the parent outside the view still hold the canary.
    bool gaps_untouched() const
    {
        for (std::size_t j = 0; j < parent.cols; ++j)
            for (std::size_t i = 0; i < parent.rows; ++i) {
                const bool inside = i >= 2 && i + 3 < parent.rows && j >= 1 && j + 1 < parent.cols;
                if (!inside && !equal(parent(i, j), canary)) return false;
            }
        return true;
    }
};

/// A deep copy, for comparing a state before and after.
template <typename Container>
Container duplicate(const Container& c)
{
    Container d;
    EXPECT_TRUE(d.copy(c));
    return d;
}
