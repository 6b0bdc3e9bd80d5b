#pragma once

#include <algorithm>

#include "metrics/eigenvalues.h"

namespace kz3::lattiq::detail {

/// Whether these eigenvalues are those of a valid tensor. They are inverse squared sizes: a ratio of
/// 1e24 is one of 1e12 between sizes.
template <size_t N>
bool are_valid(const double (&values)[N])
{
    // each asked by itself, since NaN would get lost in a minimum
    for (const double w : values)
        if (!(w > 0)) return false;
    const auto [lo, hi] = std::minmax_element(values, values + N);
    return *lo > *hi * 1e-24;
}

/// Whether a tensor is so far from singular that LAPACK is sure to find it valid; most tensors that
/// are valid are. Where this is false, nothing is known.
///
/// Proof. Let t be the trace, s = 1e-11 t, and let elimination of m - s*I in doubles find three
/// pivots above 0, u = 2^-53. What each step takes from a diagonal entry is not negative, so all
/// these parts and the pivots stay below the entry they add up to, and that below t; a part taken
/// from an entry beside the diagonal is at most the root of the product of two of them, below t as
/// well. Each entry goes through less than 16 roundings of values below t(1 + 16u), so the pivots
/// are the exact ones of m - s*I + E with every entry of E below 20 u t, and |E| below 60 u t, which
/// is below 1e-14 t. Exact pivots above 0 mean a positive matrix: the smallest eigenvalue of m is
/// above s - |E|, which exceeds 9e-12 t. As m is positive, t is at least its norm. LAPACK finds each
/// eigenvalue to within p u times the norm, with a p that is a few tens at order 3: it is granted
/// 9000 here, which makes 1e-12 t. Hence the smallest value found is above 8e-12 t and the largest
/// below 2 t, which is valid by far.
///
/// The bounds on t keep sums and products within the range of doubles, and what underflows far below
/// u t. Comparisons with NaN are false; an infinite or too large entry leaves a pivot that is not
/// above 0, or NaN.
inline bool is_clearly_valid(const symmetric_fixed<double, 3>& m)
{
    const double trace = m[0] + m[2] + m[5];
    const double shift = 1e-11 * trace;
    const double first = m[0] - shift;
    const double by_first = 1.0 / first;
    const double l10 = m[1] * by_first;
    const double l20 = m[3] * by_first;
    const double second = m[2] - shift - m[1] * l10;
    const double beside = m[4] - m[3] * l10;
    const double third = m[5] - shift - m[3] * l20 - beside * (beside / second);
    // no branch between the divisions, so that those of several columns overlap
    return bool(int(trace > 1e-100) & int(trace < 1e100) & int(first > 0) & int(second > 0) &
                int(third > 0));
}

inline bool is_valid(const symmetric_fixed<double, 2>& m)
{
    double w[2];
    eigenvalues(m, w[0], w[1]);
    return are_valid(w);
}

inline bool is_valid(const symmetric_fixed<double, 3>& m)
{
    if (is_clearly_valid(m)) return true;
    double w[3] = {};
    eigenvalues('N', m, w, nullptr);
    return are_valid(w);
}

} // namespace kz3::lattiq::detail
