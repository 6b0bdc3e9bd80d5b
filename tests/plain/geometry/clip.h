#pragma once

#include <algorithm>

#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>

namespace plain {

/// Appends the columns whose nodes before the first hole lie strictly on the side of the normal, each
/// element asked by itself.
inline void clip(const kz3::dense2D<double>& pos, const kz3::dense2D<unsigned>& connectM,
                 const kz3::vector_fixed<double, 3>& point,
                 const kz3::vector_fixed<double, 3>& normal, kz3::dense2D<unsigned>& clipped)
{
    for (std::size_t e = 0; e < connectM.cols; ++e) {
        bool kept = true;
        for (std::size_t k = 0; k < connectM.rows && connectM(k, e) != kz3::lattiq::NO_NODE; ++k) {
            double difference[3] = {0, 0, 0};
            for (std::size_t d = 0; d < std::min<std::size_t>(3, pos.rows); ++d)
                difference[d] = pos(d, connectM(k, e)) - point[d];
            kept = kept && difference[2] * normal[2] + difference[1] * normal[1] +
                                   difference[0] * normal[0] >
                               0;
        }
        if (!kept) continue;
        clipped.resize(connectM.rows, clipped.cols + 1);
        for (std::size_t k = 0; k < connectM.rows; ++k)
            clipped(k, clipped.cols - 1) = connectM(k, e);
    }
}

} // namespace plain
