#include <kz3/lattiq/metrics.h>

#include "metrics/tensors.h"
#include "plain/metrics/tensors.h"
#include "support/allocation.h"
#include "support/exhausted.h"

using namespace kz3::lattiq;

namespace {

constexpr float nan_size = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite_size = std::numeric_limits<float>::infinity();

dense1D<float> bounded(dense1D<float> sizes, double h_min, double h_max)
{
    EXPECT_EQ(bound_metrics(sizes, h_min, h_max), 0);
    return sizes;
}

dense2D<float> bounded(const dense2D<float>& metrics, double h_min, double h_max)
{
    auto result = duplicate(metrics);
    EXPECT_EQ(bound_metrics(result, h_min, h_max), 0);
    return result;
}

template <std::size_t N>
symmetric_fixed<double, N> widened(const dense2D<float>& metrics, std::size_t j)
{
    symmetric_fixed<double, N> m;
    for (std::size_t k = 0; k < metrics.rows; ++k) m[k] = double(metrics(k, j));
    return m;
}

template <std::size_t N>
dense2D<float> narrowed(const symmetric_fixed<double, N>& m)
{
    dense2D<float> metrics(m.entries, 1);
    for (std::size_t k = 0; k < m.entries; ++k) metrics(k, 0) = float(m[k]);
    return metrics;
}

} // namespace

TEST(BoundMetrics, ForcesSizesIntoTheRange)
{
    EXPECT_TRUE(same(bounded(dense1D<float>{0.5F, 5, 1.5F}, 1, 2), dense1D<float>{1, 2, 1.5F}));
}

TEST(BoundMetrics, MakesTheLeastSizeOfNaN)
{
    EXPECT_TRUE(same(bounded(dense1D<float>{nan_size, infinite_size, -infinite_size, -1, 0}, 1, 2),
                     dense1D<float>{1, 2, 1, 1, 1}));
}

TEST(BoundMetrics, LetsTheGreatestSizeWinOverTheLeast)
{
    EXPECT_TRUE(same(bounded(dense1D<float>{0.5F, 2.5F, 9}, 3, 2), dense1D<float>{2, 2, 2}));
}

TEST(BoundMetrics, ReadsASizeAgainAfterTheFirstBound)
{
    // 1e300 becomes infinity in a float, and that is above 2
    EXPECT_TRUE(same(bounded(dense1D<float>{1}, 1e300, 2), dense1D<float>{2}));
    EXPECT_TRUE(same(bounded(dense1D<float>{1}, 1e300, 1e301), dense1D<float>{infinite_size}));
}

TEST(BoundMetrics, MakesNaNOfSizesWhereTheLeastIsNaNAndIgnoresAGreatestThatIs)
{
    EXPECT_TRUE(same(bounded(dense1D<float>{1}, nan_value, 2), dense1D<float>{nan_size}));
    EXPECT_TRUE(same(bounded(dense1D<float>{1, 3}, 2, nan_value), dense1D<float>{2, 3}));
}

TEST(BoundMetrics, TakesAnEmptyListOfSizes)
{
    EXPECT_EQ(bounded(dense1D<float>(), 1, 2).size, 0U);
}

TEST(BoundMetrics, TouchesNoSizeOutsideTheView)
{
    dense1D<float> sizes{9, 9, 0.5F, 9, 9};
    auto view = sizes.sub_vector(1, 3);
    EXPECT_EQ(bound_metrics(view, 1, 2), 0);
    EXPECT_TRUE(same(sizes, dense1D<float>{9, 2, 1, 2, 9}));
}

TEST(BoundMetrics, ForcesTheSizesOfATensorIntoTheRange)
{
    EXPECT_TRUE(
        same(bounded(columns<float>({{16, 0, 0.01F}}), 0.5, 5), columns<float>({{4, 0, 0.04F}})));
    EXPECT_TRUE(same(bounded(columns<float>({{0.01F, 0, 1, 0, 0, 16}}), 0.5, 5),
                     columns<float>({{0.04F, 0, 1, 0, 0, 4}})));
}

TEST(BoundMetrics, BoundsAlongTheEigenvectors)
{
    // 1 along (-1, 1) and 3 along (1, 1): 3 becomes 2
    const auto flat = bounded(columns<float>({{2, 1, 2}}), std::sqrt(0.5), -1);
    EXPECT_TRUE(near(widened<2>(flat, 0), {1.5, 0.5, 1.5}, 1e-7));
    const auto solid = bounded(columns<float>({{2, 1, 2, 0, 0, 5}}), std::sqrt(0.5), -1);
    EXPECT_TRUE(near(widened<3>(solid, 0), {1.5, 0.5, 1.5, 0, 0, 2}, 1e-7));
}

TEST(BoundMetrics, RaisesTheZeroTensorToTheGreatestSize)
{
    EXPECT_TRUE(
        same(bounded(dense2D<float>(3, 1, 0.0F), 1, 2), columns<float>({{0.25F, 0, 0.25F}})));
    EXPECT_TRUE(same(bounded(dense2D<float>(6, 1, 0.0F), 1, 2),
                     columns<float>({{0.25F, 0, 0.25F, 0, 0, 0.25F}})));
}

TEST(BoundMetrics, RaisesNegativeEigenvalues)
{
    EXPECT_TRUE(
        same(bounded(columns<float>({{-3, 0, 1}}), 0.5, 2), columns<float>({{0.25F, 0, 1}})));
    EXPECT_TRUE(same(bounded(columns<float>({{-3, 0, 1}}), 0.5, -1), columns<float>({{0, 0, 1}})));
    EXPECT_TRUE(same(bounded(columns<float>({{-3, 0, 1, 0, 0, 2}}), 0.5, 2),
                     columns<float>({{0.25F, 0, 1, 0, 0, 2}})));
}

TEST(BoundMetrics, LetsTheLowerLimitOfEigenvaluesWin)
{
    // sizes at least 2 and at most 1: eigenvalues at most 0.25 and at least 1
    EXPECT_TRUE(same(bounded(columns<float>({{16, 0, 0.01F}}), 2, 1), columns<float>({{1, 0, 1}})));
}

TEST(BoundMetrics, SwitchesOffABoundThatIsNotAboveZero)
{
    const auto metrics = columns<float>({{3e38F, 0, 1e-30F}});
    for (const double off : {0.0, -0.0, -1.0, nan_value}) {
        EXPECT_TRUE(same(bounded(metrics, off, 1), columns<float>({{3e38F, 0, 1}}))) << off;
        EXPECT_TRUE(same(bounded(metrics, 1, off), columns<float>({{1, 0, 1e-30F}}))) << off;
    }
    EXPECT_TRUE(same(bounded(metrics, 0, 0), metrics));
}

TEST(BoundMetrics, HasNoLowerLimitFromTheRootOfTheLargestDoubleOn)
{
    // -1 rises to the lower limit
    for (const double h_max : {1e200, infinity, 1.3407807929942597e154})
        EXPECT_TRUE(
            same(bounded(columns<float>({{-1, 0, 1}}), 0, h_max), columns<float>({{0, 0, 1}})))
            << h_max;
    EXPECT_TRUE(
        same(bounded(columns<float>({{-1, 0, 1}}), 0, 1e15), columns<float>({{1e-30F, 0, 1}})));
}

TEST(BoundMetrics, TakesAnInfiniteUpperLimit)
{
    EXPECT_TRUE(
        same(bounded(columns<float>({{16, 0, 4}}), 1e-200, 1), columns<float>({{16, 0, 4}})));
}

TEST(BoundMetrics, TakesALeastSizeWhoseSquareIsInfinite)
{
    EXPECT_TRUE(
        same(bounded(columns<float>({{16, 0, 4}}), 1e200, -1), columns<float>({{0, 0, 0}})));
}

TEST(BoundMetrics, DoesNothingWhereBothBoundsAreOff)
{
    auto metrics = columns<float>({{16, 0, 0.01F}});
    for (const auto& [h_min, h_max] : {std::pair(-1.0, -1.0), std::pair(nan_value, -1.0),
                                       std::pair(-1.0, nan_value), std::pair(nan_value, nan_value)})
        EXPECT_TRUE(same(bounded(metrics, h_min, h_max), metrics)) << h_min << ", " << h_max;
}

TEST(BoundMetrics, RefusesByTheLadder)
{
    struct {
        dense2D<float> metrics;
        double h_min, h_max;
        int code;
    } const rows[] = {
        {dense2D<float>(), 1, 2, 0},
        {dense2D<float>(4, 0), 1, 2, 0}, // empty before its rows are asked
        {dense2D<float>(0, 4), 1, 2, 0},
        {dense2D<float>(3, 0), -1, -1, 0},
        {dense2D<float>(4, 1, 16.0F), -1, -1, 0}, // bounds before rows
        {dense2D<float>(4, 1, 16.0F), 1, 2, -1},
        {dense2D<float>(1, 1, 16.0F), 1, -1, -1},
        {dense2D<float>(5, 1, 16.0F), -1, 0, -1},
        {dense2D<float>(7, 1, 16.0F), nan_value, 0, -1},
    };
    for (const auto& row : rows) {
        auto metrics = duplicate(row.metrics);
        EXPECT_EQ(bound_metrics(metrics, row.h_min, row.h_max), row.code);
        EXPECT_TRUE(same(metrics, row.metrics));
        EXPECT_EQ(metrics.rows, row.metrics.rows);
        EXPECT_EQ(metrics.cols, row.metrics.cols);
    }
}

TEST(BoundMetrics, MakesNoMetricOfATensorInThePlaneThatIsNotFinite)
{
    for (const float wrong : {nan_size, infinite_size, -infinite_size})
        for (std::size_t k = 0; k < 3; ++k) {
            if (k == 1 && std::isnan(wrong)) continue; // the next test
            auto metrics = columns<float>({{2, 0.5F, 3}, {16, 0, 0.01F}});
            metrics(k, 0) = wrong;
            const auto result = bounded(metrics, 0.5, 5);
            EXPECT_FALSE(are_valid_metrics(dense1D<unsigned>{0}, result)) << wrong << " at " << k;
            EXPECT_TRUE(same(result.sub_matrix(0, 1, 3, 1), columns<float>({{4, 0, 0.04F}})));
        }
}

TEST(BoundMetrics, GoesByTheTraceInThePlaneWhereTheOffDiagonalIsNoNumber)
{
    EXPECT_TRUE(same(bounded(columns<float>({{2, nan_size, 3}}), 0.5, 5),
                     columns<float>({{2.5F, 0, 2.5F}})));
}

TEST(BoundMetrics, EndsOnEveryTensorInSpaceHoweverBad)
{
    random_tensors random(91);
    for (int run = 0; run < 5000; ++run) {
        auto metrics = dense2D<float>(6, 2, 0.0F);
        const auto m = random.hostile<3>();
        for (std::size_t k = 0; k < 6; ++k) metrics(k, 0) = float(m[k]);
        EXPECT_EQ(bound_metrics(metrics, 1, 2), 0);
        EXPECT_EQ(metrics(0, 1), 0.25F); // its neighbour is served all the same
    }
}

TEST(BoundMetrics, ServesStridedColumnsAndNothingBetween)
{
    for (const auto& metrics : {columns<float>({{16, 0, 0.01F}, {0, 0, 0}}),
                                columns<float>({{16, 0, 0.01F, 0, 0, 1}, {0, 0, 0, 0, 0, 0}})}) {
        strided<float> apart(metrics);
        EXPECT_EQ(bound_metrics(apart.view, 0.5, 5), 0);
        EXPECT_TRUE(same(apart.view, bounded(metrics, 0.5, 5)));
        EXPECT_FALSE(same(apart.view, metrics));
        EXPECT_TRUE(apart.gaps_untouched());
    }
}

TEST(BoundMetrics, FollowsThePlainVersionToTheBit)
{
    random_tensors random(92);
    for (int run = 0; run < 20000; ++run) {
        const auto stored = narrowed(run % 2 == 0 ? random.any<2>(4) : random.positive<2>(1e4));
        const auto m = widened<2>(stored, 0);
        const double h_min = random.number(-0.2, 1);
        const double h_max = run % 3 == 0 ? 1e200 : random.number(0, 3);
        const auto expected = narrowed(plain::bound(m[0], m[1], m[2], h_min, h_max));
        ASSERT_TRUE(same(bounded(stored, h_min, h_max), expected)) << "run " << run;
    }
}

template <std::size_t N>
void expect_range(unsigned seed)
{
    random_tensors random(seed);
    for (int run = 0; run < 1000; ++run) {
        const auto once =
            bounded(narrowed(run % 2 == 0 ? random.any<N>(20) : random.positive<N>()), 0.5, 2);
        const auto m = widened<N>(once, 0);
        vector_fixed<double, N> w{};
        matrix_fixed<double, N, N> v{};
        ASSERT_TRUE(eigen_pairs(m, w, v));
        EXPECT_GE(w[0], 0.25 * (1 - 1e-5)) << "run " << run;
        EXPECT_LE(w[N - 1], 4 * (1 + 1e-6)) << "run " << run;
        const auto twice = widened<N>(bounded(once, 0.5, 2), 0);
        EXPECT_TRUE(near(twice, m, 1e-6)) << "run " << run;
    }
}

TEST(BoundMetrics, IsIdempotentInThePlane)
{
    expect_range<2>(93);
}

TEST(BoundMetrics, IsIdempotentInSpace)
{
    expect_range<3>(94);
}

TEST(BoundMetrics, AllocatesNothing)
{
    dense1D<float> sizes{1, 9};
    auto flat = columns<float>({{16, 0, 0.01F}});
    auto solid = columns<float>({{16, 0, 0.01F, 0, 0, 1}});
    const auto call = [&] {
        return bound_metrics(sizes, 1, 2) + bound_metrics(flat, 1, 2) + bound_metrics(solid, 1, 2);
    };
    EXPECT_EQ(exhaust<allocation::fail_containers>({}, call), 0U);
    EXPECT_EQ(exhaust<allocation::fail_new>({}, call), 0U);
}
