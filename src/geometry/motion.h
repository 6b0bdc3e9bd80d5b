#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <type_traits>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>

#include "core/column.h"

namespace kz3::lattiq::detail {

/// Whether a value moves nothing. Asked by comparison, so that NaN counts as no motion.
inline bool is_zero(double x)
{
    return !(std::abs(x) > 0);
}

template <std::size_t N>
bool is_zero(const vector_fixed<double, N>& v)
{
    for (const double x : v)
        if (!is_zero(x)) return false;
    return true;
}

/// Applies a motion of Dim components to columns of coordinates, which are widened to Dim rows first.
///
/// Where widening found memory exhausted, a column moves as if its missing rows held zeros, and only
/// the rows that it has are written.
template <size_t Dim, typename Motion>
class mover {
public:
    mover(dense2D<double>& pos, const Motion& motion) : motion_(motion)
    {
        if (pos.rows < Dim) pos.resize(Dim, pos.cols, 0.0);
        held_ = std::min(pos.rows, Dim);
    }

    /// Whether the columns have all rows that the motion needs.
    bool is_whole() const { return held_ == Dim; }

    void operator()(double* p) const
    {
        if (is_whole()) {
            motion_(p);
            return;
        }
        double whole[Dim] = {};
        std::copy_n(p, held_, whole);
        motion_(whole);
        std::copy_n(whole, held_, p);
    }

private:
    Motion motion_;
    size_t held_ = 0;
};

#if defined(__GNUC__)
/// One coordinate of two nodes. Each lane is computed as a double is, so it rounds as that does.
using two_doubles [[gnu::vector_size(16)]] = double;
#endif

/// Moves the columns two at a time, up to an odd last one, if the motion can be applied to coordinates
/// of two nodes; returns how many. The columns have all rows that the motion needs.
template <size_t Dim, typename Motion>
size_t move_pairs(dense2D<double>& pos, const Motion& motion)
{
    size_t j = 0;
#if defined(__GNUC__)
    if constexpr (std::is_invocable_v<const Motion&, two_doubles*>)
        for (; j + 1 < pos.cols; j += 2) {
            double* p = column(pos, j);
            double* q = column(pos, j + 1);
            two_doubles both[Dim];
            for (size_t d = 0; d < Dim; ++d) both[d] = two_doubles{p[d], q[d]};
            motion(both);
            for (size_t d = 0; d < Dim; ++d) {
                p[d] = both[d][0];
                q[d] = both[d][1];
            }
        }
#endif
    return j;
}

/// Moves all columns; returns how many.
template <size_t Dim, typename Motion>
int move_all(dense2D<double>& pos, const Motion& motion)
{
    const mover<Dim, Motion> move(pos, motion);
    size_t j = move.is_whole() ? move_pairs<Dim>(pos, motion) : 0;
    for (; j < pos.cols; ++j) move(column(pos, j));
    return int(pos.cols);
}

/// Moves the columns listed, one listed twice twice, and passes over IDs that are no column; returns
/// the number of moves.
template <size_t Dim, typename Motion>
int move_listed(dense2D<double>& pos, const dense1D<unsigned>& ids, const Motion& motion)
{
    if (ids.size == 0) return 0;
    mover<Dim, Motion> move(pos, motion);
    int moved = 0;
    for (size_t i = 0; i < ids.size; ++i) {
        if (ids[i] >= pos.cols) continue;
        move(column(pos, ids[i]));
        ++moved;
    }
    return moved;
}

} // namespace kz3::lattiq::detail
