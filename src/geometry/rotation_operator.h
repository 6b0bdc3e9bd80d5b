#pragma once

#include <kz3/fixed.h>

namespace kz3::lattiq::detail {

/// What follows from a rotation vector r, whose direction is the axis and whose length is the angle:
/// the rotation and its derivative operators, as 66 doubles. Matrices are 3 by 3, column by column.
struct rotation_operator {
    double c[9];  ///< coefficients c0 to c8; c6 is not used and 0
    double r[3];  ///< the rotation vector
    double T[9];  ///< c0 W + c1 W2
    double R[9];  ///< the rotation, I + T
    double P1[9]; ///< I + c1 W + c4 W2
    double P2[9]; ///< c3 W + c5 W2
    double P3[9]; ///< c8 W + c7 W2
    double W[9];  ///< the skew matrix of r: W x is r cross x

    explicit rotation_operator(const vector_fixed<double, 3>& vector);
};

static_assert(sizeof(rotation_operator) == 66 * sizeof(double));

} // namespace kz3::lattiq::detail
