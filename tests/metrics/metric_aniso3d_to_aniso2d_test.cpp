#include <kz3/lattiq/metrics.h>

#include "metrics/tensors.h"
#include "support/allocation.h"

using namespace kz3::lattiq;

namespace {

// Rows (1, 2, 4), (2, 3, 5), (4, 5, 6).
constexpr tensor3 numbered{1, 2, 3, 4, 5, 6};

const auto field = columns<float>(
    {{1, 2, 3, 4, 5, 6}, {0, 0, 0, 0, 0, 0}, {2, 0, 3, 0, 0, 4}, {-1, 0, 1, 0, 0, 1}});
const auto bases = columns<double>(
    {{1, 0, 0, 0, 0, 1}, {1, 0, 0, 0, 1, 0}, {1, 1, 0, 0, 1, 1}, {1, 0, 0, 0, 2, 0}});
const auto in_planes = columns<float>({{1, 4, 6}, {0, 0, 0}, {5, 3, 7}, {-1, 0, 4}});

} // namespace

TEST(MetricAniso3dToAniso2d, TakesTheFormOnTheBasis)
{
    tensor2 m{9, 9, 9};
    metric_aniso3d_to_aniso2d(numbered, plane{1, 0, 0, 0, 0, 1}, m);
    EXPECT_TRUE(same(m, {1, 4, 6}));
    metric_aniso3d_to_aniso2d(numbered, plane{0, 1, 0, 1, 0, 0}, m);
    EXPECT_TRUE(same(m, {3, 2, 1}));
    // m3 b0 = (1 + 4 + 12, 2 + 6 + 15, 4 + 10 + 18), m3 b1 = (-3, -3, -2)
    metric_aniso3d_to_aniso2d(numbered, plane{1, 2, 3, 1, 0, -1}, m);
    EXPECT_TRUE(same(m, {17 + 46 + 96, -3 - 6 - 6, -3 + 2}));
}

TEST(MetricAniso3dToAniso2d, TakesTensorsThatAreNoMetrics)
{
    tensor2 m{9, 9, 9};
    metric_aniso3d_to_aniso2d(tensor3{0, 0, 0, 0, 0, 0}, plane{1, 0, 0, 0, 1, 0}, m);
    EXPECT_TRUE(same(m, {0, 0, 0}));
    metric_aniso3d_to_aniso2d(tensor3{-1, 0, -2, 0, 0, 0}, plane{1, 0, 0, 0, 1, 0}, m);
    EXPECT_TRUE(same(m, {-1, 0, -2}));
    metric_aniso3d_to_aniso2d(tensor3{1, 0, 1, 0, 0, nan_value}, plane{1, 0, 0, 0, 1, 0}, m);
    EXPECT_TRUE(same(m, {nan_value, nan_value, nan_value})); // 0 times NaN
}

TEST(MetricAniso3dToAniso2d, EqualsTheTensorOnEmbeddedVectors)
{
    random_tensors random(80);
    for (int run = 0; run < 1000; ++run) {
        const auto m3 = random.any<3>(5);
        plane basis;
        for (double& x : basis.data) x = random.number(-2, 2);
        tensor2 m2{};
        metric_aniso3d_to_aniso2d(m3, basis, m2);
        const auto x = random.vector<2>();
        vector_fixed<double, 3> embedded;
        for (std::size_t i = 0; i < 3; ++i) embedded[i] = basis(i, 0) * x[0] + basis(i, 1) * x[1];
        EXPECT_NEAR(form(m2, x), form(m3, embedded), 1e-12) << "run " << run;
    }
}

TEST(MetricAniso3dToAniso2d, FollowsTheProductsInOrder)
{
    random_tensors random(81);
    for (int run = 0; run < 1000; ++run) {
        const auto m = random.any<3>(5);
        plane b;
        for (double& x : b.data) x = random.number(-2, 2);
        double t[6];
        for (int k : {0, 3}) {
            const double x = b.data[k], y = b.data[k + 1], z = b.data[k + 2];
            t[k] = m[0] * x + m[1] * y + m[3] * z;
            t[k + 1] = m[1] * x + m[2] * y + m[4] * z;
            t[k + 2] = m[3] * x + m[4] * y + m[5] * z;
        }
        const auto dot = [](const double* p, const double* q) {
            return p[0] * q[0] + p[1] * q[1] + p[2] * q[2];
        };
        tensor2 m2{};
        metric_aniso3d_to_aniso2d(m, b, m2);
        ASSERT_TRUE(same(m2, {dot(t, b.data), dot(t + 3, b.data), dot(t + 3, b.data + 3)}));
    }
}

TEST(MetricsAniso3dToAniso2d, ConvertsAField)
{
    dense2D<float> metrics(5, 7, 9.0F);
    EXPECT_EQ(metrics_aniso3d_to_aniso2d(field, bases, metrics), 0);
    EXPECT_TRUE(same(metrics, in_planes));
    EXPECT_EQ(metrics.ld, 3U);
}

TEST(MetricsAniso3dToAniso2d, WidensBeforeItMultiplies)
{
    // In floats 1e30 times 1e30 would be infinite, and 1e-40 times 1e-40 nothing.
    const auto huge = columns<float>({{1e30F, 0, 1e30F, 0, 0, 1e30F}});
    const auto uneven = columns<double>({{1e-40, 0, 0, 1e30, 0, 0}});
    dense2D<float> metrics;
    EXPECT_EQ(metrics_aniso3d_to_aniso2d(huge, uneven, metrics), 0);
    EXPECT_EQ(metrics(0, 0), 0); // 1e-50, narrowed
    EXPECT_FLOAT_EQ(metrics(1, 0), 1e20F);
    EXPECT_EQ(metrics(2, 0), std::numeric_limits<float>::infinity()); // 1e90, narrowed
}

TEST(MetricsAniso3dToAniso2d, RefusesByTheLadderAndKeepsTheMetrics)
{
    struct {
        dense2D<float> metrics3d;
        dense2D<double> bases;
        int code;
    } const rows[] = {
        {dense2D<float>(3, 4, 1.0F), bases, -1},
        {dense2D<float>(7, 4, 1.0F), bases, -1},
        {dense2D<float>(), bases, -1},
        {dense2D<float>(), dense2D<double>(), -1},
        {dense2D<float>(3, 4, 1.0F), dense2D<double>(5, 3, 1.0), -1}, // both
        {dense2D<float>(5, 4, 1.0F), dense2D<double>(6, 3, 1.0), -1}, // both
        {field, dense2D<double>(5, 4, 1.0), -2},
        {field, dense2D<double>(6, 3, 1.0), -2},
        {field, dense2D<double>(6, 5, 1.0), -2},
        {field, dense2D<double>(), -2},
        {dense2D<float>(6, 0), dense2D<double>(), -2},
    };
    for (const auto& row : rows) {
        dense2D<float> metrics(5, 7, 9.0F);
        EXPECT_EQ(metrics_aniso3d_to_aniso2d(row.metrics3d, row.bases, metrics), row.code);
        EXPECT_TRUE(same(metrics, dense2D<float>(5, 7, 9.0F)));
    }
}

TEST(MetricsAniso3dToAniso2d, TakesEmptyFields)
{
    dense2D<float> metrics(5, 7, 9.0F);
    EXPECT_EQ(metrics_aniso3d_to_aniso2d(dense2D<float>(6, 0), dense2D<double>(6, 0), metrics), 0);
    EXPECT_EQ(metrics.rows, 3U);
    EXPECT_EQ(metrics.cols, 0U);
}

TEST(MetricsAniso3dToAniso2d, ReadsViews)
{
    const strided<float> tensors(field);
    const strided<double> planes(bases);
    dense2D<float> metrics;
    EXPECT_EQ(metrics_aniso3d_to_aniso2d(tensors.view, planes.view, metrics), 0);
    EXPECT_TRUE(same(metrics, in_planes));
    EXPECT_TRUE(tensors.gaps_untouched());
}

TEST(MetricsAniso3dToAniso2d, ConvertsAFieldIntoItself)
{
    auto metrics = duplicate(field);
    EXPECT_EQ(metrics_aniso3d_to_aniso2d(metrics, bases, metrics), 0);
    EXPECT_TRUE(same(metrics, in_planes));
}

TEST(MetricsAniso3dToAniso2d, ConvertsIntoAViewOfTheSameStorage)
{
    auto tensors = duplicate(field);
    dense2D<float> metrics(tensors);
    metrics.offset = 5;
    EXPECT_EQ(metrics_aniso3d_to_aniso2d(tensors, bases, metrics), 0);
    EXPECT_TRUE(same(metrics, in_planes));
    strided<float> apart(field);
    metrics.shallow_copy(apart.parent);
    EXPECT_EQ(metrics_aniso3d_to_aniso2d(apart.view, bases, metrics), 0);
    EXPECT_TRUE(same(metrics, in_planes));
}

TEST(MetricsAniso3dToAniso2d, UsesTheStorageAgain)
{
    dense2D<float> metrics(3, 4, 9.0F);
    const float* storage = metrics.vec->data;
    const auto calls = allocation::calls();
    EXPECT_EQ(metrics_aniso3d_to_aniso2d(field, bases, metrics), 0);
    EXPECT_EQ(metrics.vec->data, storage);
    EXPECT_EQ(allocation::calls(), calls);
}

TEST(MetricsAniso3dToAniso2d, IsEmptyWithoutAnErrorWhereMemoryIsExhausted)
{
    for (const bool onwards : {false, true}) {
        const auto ask = [&](std::size_t, auto run) {
            dense2D<float> metrics(2, 1, 9.0F);
            const auto blocks = allocation::live_blocks();
            EXPECT_EQ(run([&] { return metrics_aniso3d_to_aniso2d(field, bases, metrics); }), 0);
            EXPECT_EQ(allocation::live_blocks(), blocks);
            if (metrics.cols == 4) return;
            EXPECT_EQ(metrics.rows, 0U);
            EXPECT_EQ(metrics.cols, 0U);
            EXPECT_EQ(metrics.ld, 0U);
        };
        EXPECT_EQ(allocation::sweep<allocation::fail_containers>(ask, onwards), 1U);
        EXPECT_EQ(allocation::sweep<allocation::fail_new>(ask, onwards), 0U);
    }
}

TEST(MetricsAniso3dToAniso2d, IsEmptyWhereAFieldIntoItselfFindsNoMemoryForItsCopy)
{
    const auto ask = [](std::size_t n, auto run) {
        auto metrics = duplicate(field);
        EXPECT_EQ(run([&] { return metrics_aniso3d_to_aniso2d(metrics, bases, metrics); }), 0);
        EXPECT_TRUE(metrics.cols == 4 ? bool(same(metrics, in_planes)) : metrics.rows == 0)
            << "allocation " << n;
    };
    EXPECT_EQ(allocation::sweep<allocation::fail_containers>(ask), 1U);
    EXPECT_EQ(allocation::sweep<allocation::fail_new>(ask), 1U);
}
