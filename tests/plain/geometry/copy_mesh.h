#pragma once

#include <map>

#include <kz3/lattiq/element_type.h>

#include "plain/geometry/motions.h"

namespace plain {

/// Copies the nodes of a connectivity, one by one as they come up, and appends the connectivity on the
/// copies. move(pos, j) is called on each new node.
template <typename Move>
void copy_mesh(kz3::dense2D<double>& pos, kz3::dense2D<unsigned>& copies,
               const kz3::dense2D<unsigned>& connectM, Move move)
{
    std::map<unsigned, unsigned> copy_of;
    for (std::size_t e = 0; e < connectM.cols; ++e) {
        copies.resize(connectM.rows, copies.cols + 1);
        for (std::size_t k = 0; k < connectM.rows; ++k) {
            const unsigned old = connectM(k, e);
            const auto fresh = unsigned(pos.cols);
            if (old != kz3::lattiq::NO_NODE && copy_of.emplace(old, fresh).second) {
                pos.resize(pos.rows, fresh + 1);
                for (std::size_t d = 0; d < pos.rows; ++d) pos(d, fresh) = pos(d, old);
                move(pos, fresh);
            }
            copies(k, copies.cols - 1) = old == kz3::lattiq::NO_NODE ? old : copy_of[old];
        }
    }
}

/// A series: copy t turns by t times the angle about the center, then moves by t times the step.
template <std::size_t N, typename Angle>
void copy_series(kz3::dense2D<double>& pos, kz3::dense2D<unsigned>& copies,
                 const kz3::vector_fixed<double, N>& step,
                 const kz3::vector_fixed<double, N>& center, const Angle& angle, unsigned count,
                 const kz3::dense2D<unsigned>& connectM)
{
    for (unsigned t = 1; t <= count; ++t)
        copy_mesh(pos, copies, connectM, [&](kz3::dense2D<double>& all, std::size_t j) {
            rotate(all, j, center, times(t, angle));
            translate(all, j, times(t, step));
        });
}

} // namespace plain
