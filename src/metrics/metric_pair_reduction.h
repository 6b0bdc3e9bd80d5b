#pragma once

#include <algorithm>

#include <kz3/lattiq/metrics.h>

#include "core/column.h"

namespace kz3::lattiq::detail {

/// A basis in which two tensors are diagonal. All values are 0 where it does not exist.
template <size_t N>
struct metric_pair_reduction {
    matrix_fixed<double, N, N> vectors{};    ///< columns v_i of length 1
    double inverse_rows[N][N] = {};          ///< row i of the inverse of vectors
    vector_fixed<double, N> first_values{};  ///< v_i' m1 v_i
    vector_fixed<double, N> second_values{}; ///< v_i' m2 v_i, from the generalised eigenvalue

    /// False unless both tensors are positive in all directions of the basis.
    bool reduce(const symmetric_fixed<double, N>& m1, const symmetric_fixed<double, N>& m2)
    {
        vector_fixed<double, N> w{};
        first_values = second_values = {};
        if (!eigen_pairs(m1, m2, w, vectors)) return false;

        invert();
        for (size_t i = 0; i < N; ++i) {
            first_values[i] = form(m1, i);
            second_values[i] = first_values[i] * w[i];
        }
        return std::all_of(first_values.begin(), first_values.end(), is_positive) &&
               std::all_of(second_values.begin(), second_values.end(), is_positive);
    }

private:
    static bool is_positive(double x) { return x > 0; }

    double form(const symmetric_fixed<double, N>& m, size_t i) const
    {
        double sum = 0;
        for (size_t a = 0; a < N; ++a)
            for (size_t b = 0; b < N; ++b) sum += vectors(a, i) * m(a, b) * vectors(b, i);
        return sum;
    }

    // By cofactors; a determinant of 0 gets no special treatment.
    void invert()
    {
        const auto& v = vectors;
        if constexpr (N == 2) {
            const double s = 1 / (v(0, 0) * v(1, 1) - v(0, 1) * v(1, 0));
            inverse_rows[0][0] = v(1, 1) * s;
            inverse_rows[0][1] = -v(0, 1) * s;
            inverse_rows[1][0] = -v(1, 0) * s;
            inverse_rows[1][1] = v(0, 0) * s;
        } else {
            // cofactor of entry (j, i), by cyclic successors, which carry its sign
            const auto cofactor = [&](size_t j, size_t i) {
                const size_t j1 = (j + 1) % 3;
                const size_t j2 = (j + 2) % 3;
                const size_t i1 = (i + 1) % 3;
                const size_t i2 = (i + 2) % 3;
                return v(j1, i1) * v(j2, i2) - v(j1, i2) * v(j2, i1);
            };
            const double det =
                v(0, 0) * cofactor(0, 0) + v(1, 0) * cofactor(1, 0) + v(2, 0) * cofactor(2, 0);
            const double s = 1 / det;
            for (size_t i = 0; i < 3; ++i)
                for (size_t j = 0; j < 3; ++j) inverse_rows[i][j] = cofactor(j, i) * s;
        }
    }
};

/// The tensor that has choose(first, second) in each direction in which both tensors are diagonal:
/// the transposed inverse of the vectors, times these values on a diagonal, times the inverse.
template <size_t N, typename Choose>
symmetric_fixed<double, N> combine(const symmetric_fixed<double, N>& m1,
                                   const symmetric_fixed<double, N>& m2, Choose choose)
{
    metric_pair_reduction<N> pair;
    pair.reduce(m1, m2); // the values say enough: they are 0 where it fails
    symmetric_fixed<double, N> m{};
    for (size_t k = 0; k < N; ++k) {
        const double h = choose(pair.first_values[k], pair.second_values[k]);
        const double* p = pair.inverse_rows[k];
        for (size_t i = 0; i < N; ++i)
            for (size_t j = 0; j <= i; ++j) m(j, i) += h * p[j] * p[i];
    }
    return m;
}

} // namespace kz3::lattiq::detail
