#include <cmath>

#include "geometry/rotation_operator.h"

#include "support/same.h"

namespace {
using kz3::lattiq::detail::rotation_operator;

vector_fixed<double, 3> of_length(double theta)
{
    const double scale = theta / std::sqrt(14.0);
    return {scale, -2 * scale, 3 * scale};
}

// Entry (i, j) of a times b, both column by column.
double product(const double* a, const double* b, std::size_t i, std::size_t j)
{
    return a[i] * b[3 * j] + a[3 + i] * b[3 * j + 1] + a[6 + i] * b[3 * j + 2];
}

} // namespace

TEST(RotationOperator, HoldsTheVectorAndItsSkewMatrix)
{
    const rotation_operator op(vector_fixed<double, 3>{1, 2, 3});
    EXPECT_EQ(op.r[0], 1.0);
    EXPECT_EQ(op.r[2], 3.0);
    const double skew[9] = {0, 3, -2, -3, 0, 1, 2, -1, 0};
    for (int k = 0; k < 9; ++k) EXPECT_EQ(op.W[k], skew[k]) << k;
    EXPECT_EQ(op.c[6], 0.0);
}

TEST(RotationOperator, HasTheClosedFormsAbove)
{
    const rotation_operator op(vector_fixed<double, 3>{0, 0, 2});
    const double s = std::sin(2.0);
    const double c = std::cos(2.0);
    EXPECT_DOUBLE_EQ(op.c[0], s / 2);
    EXPECT_DOUBLE_EQ(op.c[1], (1 - c) / 4);
    EXPECT_DOUBLE_EQ(op.c[4], (1 - s / 2) / 4);
    EXPECT_DOUBLE_EQ(op.c[2], (1 - s / 2) / 4 - (1 - c) / 4);
    EXPECT_DOUBLE_EQ(op.c[3], (s / 2 - (1 - c) / 2) / 4);
    EXPECT_DOUBLE_EQ(op.c[5], ((1 - c) / 4 - 3 * (1 - s / 2) / 4) / 4);
    EXPECT_DOUBLE_EQ(op.c[8], (op.c[2] - 4 * op.c[3]) / 4);
    EXPECT_DOUBLE_EQ(op.c[7], (op.c[3] - 5 * op.c[5]) / 4);
}

TEST(RotationOperator, OfNoRotationHasTheLimits)
{
    const rotation_operator op(vector_fixed<double, 3>{0, 0, 0});
    const double limits[9] = {1,         0.5, -1 / 3.0,  -1 / 12.0, 1 / 6.0,
                              -1 / 60.0, 0,   1 / 630.0, 1 / 90.0};
    for (int k = 0; k < 9; ++k) EXPECT_DOUBLE_EQ(op.c[k], limits[k]) << k;
    for (int k = 0; k < 9; ++k) EXPECT_EQ(op.R[k], k % 4 == 0 ? 1.0 : 0.0) << k;
}

TEST(RotationOperator, SeriesAndClosedFormsMeetAtTheirBorder)
{
    const rotation_operator below(of_length(0.2 * (1 - 1e-12)));
    const rotation_operator above(of_length(0.2 * (1 + 1e-12)));
    // Each division by x = 0.04 in the closed forms costs digits.
    const double within[9] = {1e-12, 1e-12, 1e-12, 1e-11, 1e-12, 1e-11, 0, 1e-8, 1e-8};
    for (int k = 0; k < 9; ++k) EXPECT_NEAR(below.c[k], above.c[k], within[k]) << k;
    for (int k = 0; k < 9; ++k) EXPECT_NEAR(below.R[k], above.R[k], 1e-12) << k;
}

TEST(RotationOperator, TakesTheSeriesAtItsBorder)
{
    // At 0.2 the closed form of c8 has lost its last digits; the series has not.
    const double x = 0.2 * 0.2;
    const rotation_operator op(vector_fixed<double, 3>{0.2, 0, 0});
    const double series = 1 / 90.0 - x / 1680 + x * x / 75600 - x * x * x / 5987520;
    EXPECT_NEAR(op.c[8], series, 1e-17);
}

TEST(RotationOperator, GivesARotation)
{
    for (const double theta : {0.0, 1e-8, 0.1, 0.2, 0.3, 1.0, 3.0, 10.0}) {
        const rotation_operator op(of_length(theta));
        double trace = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            trace += op.R[4 * i];
            for (std::size_t j = 0; j < 3; ++j) {
                double transposed = 0;
                for (std::size_t k = 0; k < 3; ++k) transposed += op.R[3 * i + k] * op.R[3 * j + k];
                EXPECT_NEAR(transposed, i == j ? 1.0 : 0.0, 1e-14) << theta;
                EXPECT_NEAR(op.R[3 * j + i], op.T[3 * j + i] + (i == j ? 1.0 : 0.0), 1e-15);
            }
        }
        EXPECT_NEAR(trace, 1 + 2 * std::cos(theta), 1e-14) << theta;
    }
}

TEST(RotationOperator, CombinesTheSkewMatrixAndItsSquareByTheCoefficients)
{
    for (const double theta : {0.1, 1.5}) {
        const rotation_operator op(of_length(theta));
        for (std::size_t j = 0; j < 3; ++j)
            for (std::size_t i = 0; i < 3; ++i) {
                const std::size_t k = 3 * j + i;
                const double w = op.W[k];
                const double w2 = product(op.W, op.W, i, j);
                EXPECT_DOUBLE_EQ(op.T[k], op.c[0] * w + op.c[1] * w2);
                EXPECT_DOUBLE_EQ(op.P1[k], (i == j ? 1.0 : 0.0) + op.c[1] * w + op.c[4] * w2);
                EXPECT_DOUBLE_EQ(op.P2[k], op.c[3] * w + op.c[5] * w2);
                EXPECT_DOUBLE_EQ(op.P3[k], op.c[8] * w + op.c[7] * w2);
            }
    }
}

TEST(RotationOperator, FirstDerivativeOperatorMatchesDifferences)
{
    // The rotation changes by skew(P1 dr) R to first order.
    const vector_fixed<double, 3> r{0.5, -0.7, 0.9};
    const double step = 1e-6;
    const rotation_operator op(r);
    for (std::size_t d = 0; d < 3; ++d) {
        vector_fixed<double, 3> up = r;
        vector_fixed<double, 3> down = r;
        up[d] += step;
        down[d] -= step;
        const rotation_operator above(up);
        const rotation_operator below(down);
        const rotation_operator turn(
            vector_fixed<double, 3>{op.P1[3 * d], op.P1[3 * d + 1], op.P1[3 * d + 2]});
        for (std::size_t j = 0; j < 3; ++j)
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_NEAR((above.R[3 * j + i] - below.R[3 * j + i]) / (2 * step),
                            product(turn.W, op.R, i, j), 1e-9);
    }
}
