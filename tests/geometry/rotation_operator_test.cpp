#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "geometry/rotation_operator.h"

#include "plain/geometry/rotation_operator.h"
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

namespace {

/// All 66 values as they lie in memory.
std::array<double, 66> slots(const rotation_operator& op)
{
    std::array<double, 66> all{};
    std::memcpy(all.data(), &op, sizeof op);
    return all;
}

constexpr double lengths_above[] = {0.2000000001, 0.21, 0.5, 1.0, 1.9, 3.14, 6.28, 50.0};
constexpr double lengths_below[] = {0.0, 1e-9, 0.003, 0.05, 0.1, 0.15, 0.199, 0.2};

} // namespace

TEST(RotationOperator, HasEveryValueOfTheClosedFormsToTheBit)
{
    for (const double theta : lengths_above) {
        const auto r = of_length(theta);
        const auto expected = plain::rotation_operator(r);
        const auto all = slots(rotation_operator(r));
        for (std::size_t k = 0; k < 66; ++k) EXPECT_EQ(all[k], expected[k]) << theta << ", " << k;
    }
}

TEST(RotationOperator, HasEveryValueOfTheSeriesToWithinRounding)
{
    for (const double theta : lengths_below) {
        const auto r = of_length(theta);
        const auto expected = plain::rotation_operator(r);
        const auto all = slots(rotation_operator(r));
        for (std::size_t k = 0; k < 66; ++k) {
            // Coefficients by themselves, entries of a matrix by the largest of it: they may cancel.
            double size = std::abs(expected[k]);
            const std::size_t first = k < 12 ? k : 12 + (k - 12) / 9 * 9;
            for (std::size_t i = first; k >= 12 && i < first + 9; ++i)
                size = std::max(size, std::abs(expected[i]));
            EXPECT_NEAR(all[k], expected[k], 1e-15 * size) << theta << ", " << k;
        }
    }
}

TEST(RotationOperator, ChangesToTheClosedFormsRightAboveItsBorder)
{
    const vector_fixed<double, 3> at{0.2, 0, 0};
    const vector_fixed<double, 3> above{std::nextafter(0.2, 1.0), 0, 0};
    const auto closed = plain::rotation_operator(above);
    const auto all = slots(rotation_operator(above));
    for (std::size_t k = 0; k < 66; ++k) EXPECT_EQ(all[k], closed[k]) << k;
    // The closed form of c7 has lost nine digits there, so that a step back shows.
    EXPECT_GT(std::abs(rotation_operator(at).c[7] - all[7]), 1e-12);
}

TEST(RotationOperator, HasCoefficientsThatAreDerivativesOfEachOther)
{
    // By the angle, divided by it: c0 gives c2, c1 c3, c4 c5, c3 c8 and c5 c7.
    constexpr unsigned pairs[][2] = {{0, 2}, {1, 3}, {4, 5}, {3, 8}, {5, 7}};
    for (const double theta : {0.1, 0.15, 0.7, 1.5, 3.0}) {
        const double h = 1e-4;
        const rotation_operator above(of_length(theta + h));
        const rotation_operator below(of_length(theta - h));
        const rotation_operator op(of_length(theta));
        for (const auto& [of, is] : pairs)
            EXPECT_NEAR(op.c[is], (above.c[of] - below.c[of]) / (2 * h) / theta, 1e-8)
                << "c" << is << " at " << theta;
    }
}

TEST(RotationOperator, HasOperatorsThatFollowFromTheOneBeforeAsItsVectorGrows)
{
    // Along (1 + e) r the matrix W grows by W and W2 by 2 W2, and the coefficients by their
    // derivatives: P1 by c1 W + 2 c4 W2 + x P2, P2 by c3 W + 2 c5 W2 + x P3.
    for (const double theta : {0.1, 1.5}) {
        const double h = 1e-4;
        const double x = theta * theta;
        const rotation_operator above(of_length(theta * (1 + h)));
        const rotation_operator below(of_length(theta * (1 - h)));
        const rotation_operator op(of_length(theta));
        for (std::size_t j = 0; j < 3; ++j)
            for (std::size_t i = 0; i < 3; ++i) {
                const std::size_t k = 3 * j + i;
                const double w = op.W[k];
                const double w2 = product(op.W, op.W, i, j);
                EXPECT_NEAR((above.P1[k] - below.P1[k]) / (2 * h),
                            op.c[1] * w + 2 * op.c[4] * w2 + x * op.P2[k], 1e-8);
                EXPECT_NEAR((above.P2[k] - below.P2[k]) / (2 * h),
                            op.c[3] * w + 2 * op.c[5] * w2 + x * op.P3[k], 1e-8);
            }
    }
}

TEST(RotationOperator, OfAFullTurnIsTheIdentity)
{
    const rotation_operator op(of_length(2 * std::acos(-1.0)));
    for (int k = 0; k < 9; ++k) EXPECT_NEAR(op.R[k], k % 4 == 0 ? 1.0 : 0.0, 1e-14) << k;
}

TEST(RotationOperator, LeavesItsAxisAndTurnsRightHandedly)
{
    const auto r = of_length(2.2);
    const rotation_operator op(r);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(op.R[i] * r[0] + op.R[3 + i] * r[1] + op.R[6 + i] * r[2], r[i], 1e-14);
    const rotation_operator quarter(vector_fixed<double, 3>{std::acos(-1.0) / 2, 0, 0});
    const double known[9] = {1, 0, 0, 0, 0, 1, 0, -1, 0};
    for (int k = 0; k < 9; ++k) EXPECT_NEAR(quarter.R[k], known[k], 1e-15) << k;
}
