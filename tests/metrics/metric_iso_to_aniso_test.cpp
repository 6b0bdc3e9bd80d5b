#include <kz3/lattiq/metrics.h>

#include "metrics/tensors.h"
#include "support/allocation.h"

using namespace kz3::lattiq;

namespace {

constexpr float nan_size = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite_size = std::numeric_limits<float>::infinity();

const dense1D<float> sizes{0.5F, 0, 2, -1};
const auto flat = columns<float>({{4, 0, 4}, {0, 0, 0}, {0.25F, 0, 0.25F}, {0, 0, 0}});
const auto solid = columns<float>(
    {{4, 0, 4, 0, 0, 4}, {0, 0, 0, 0, 0, 0}, {0.25F, 0, 0.25F, 0, 0, 0.25F}, {0, 0, 0, 0, 0, 0}});

// (1, 0, 0) and (1, 2, 0), then axes of length 1 and 3, then nothing, then (0, 0, 1) twice.
const auto bases = columns<double>(
    {{1, 0, 0, 1, 2, 0}, {1, 0, 0, 0, 3, 0}, {0, 0, 2, 0, 1, 0}, {0, 0, 1, 0, 0, 1}});
const auto in_planes = columns<float>({{4, 4, 20}, {0, 0, 0}, {1, 0, 0.25F}, {0, 0, 0}});

} // namespace

TEST(MetricIsoToAniso, PutsTheInverseSquareOnTheDiagonal)
{
    tensor2 m2{9, 9, 9};
    metric_iso_to_aniso(0.5, m2);
    EXPECT_TRUE(same(m2, {4, 0, 4}));
    tensor3 m3{9, 9, 9, 9, 9, 9};
    metric_iso_to_aniso(0.5, m3);
    EXPECT_TRUE(same(m3, {4, 0, 4, 0, 0, 4}));
}

TEST(MetricIsoToAniso, GivesZeroForSizesThatAreNotAboveZero)
{
    for (const double h : {-1.0, 0.0, -0.0, nan_value, -infinity}) {
        tensor2 m2{9, 9, 9};
        metric_iso_to_aniso(h, m2);
        EXPECT_TRUE(same(m2, {0, 0, 0})) << h;
        EXPECT_FALSE(is_valid_metric(m2));
        tensor3 m3{9, 9, 9, 9, 9, 9};
        metric_iso_to_aniso(h, m3);
        EXPECT_TRUE(same(m3, {0, 0, 0, 0, 0, 0})) << h;
        EXPECT_FALSE(is_valid_metric(m3));
    }
}

TEST(MetricIsoToAniso, OverflowsToZeroAndInfinity)
{
    tensor2 m{9, 9, 9};
    metric_iso_to_aniso(infinity, m);
    EXPECT_TRUE(same(m, {0, 0, 0}));
    metric_iso_to_aniso(1e200, m);
    EXPECT_TRUE(same(m, {0, 0, 0}));
    metric_iso_to_aniso(1e-200, m);
    EXPECT_TRUE(same(m, {infinity, 0, infinity}));
}

TEST(MetricsIsoToAniso2d, ConvertsAField)
{
    dense2D<float> metrics(5, 7, 9.0F);
    metrics_iso_to_aniso2d(sizes, metrics);
    EXPECT_TRUE(same(metrics, flat));
    EXPECT_EQ(metrics.ld, 3U);
}

TEST(MetricsIsoToAniso3d, ConvertsAField)
{
    dense2D<float> metrics(5, 7, 9.0F);
    metrics_iso_to_aniso3d(sizes, metrics);
    EXPECT_TRUE(same(metrics, solid));
    EXPECT_EQ(metrics.ld, 6U);
}

TEST(MetricsIsoToAniso, NarrowsOnlyTheResult)
{
    // In floats all the way 0.1 would give 99.9999924, 1.3 0.591716051.
    const dense1D<float> odd{0.1F, 1.3F, 1e-30F};
    dense2D<float> metrics;
    metrics_iso_to_aniso2d(odd, metrics);
    EXPECT_EQ(metrics(0, 0), 100.0F);
    EXPECT_EQ(metrics(2, 1), 0.591715991F);
    EXPECT_EQ(metrics(0, 2), infinite_size); // 1e60
    metrics_iso_to_aniso3d(odd, metrics);
    EXPECT_EQ(metrics(2, 0), 100.0F);
    EXPECT_EQ(metrics(5, 1), 0.591715991F);
    EXPECT_EQ(metrics(5, 2), infinite_size);
}

TEST(MetricsIsoToAniso, GivesZeroColumnsForSizesThatAreNoSizes)
{
    const dense1D<float> odd{nan_size, -infinite_size, infinite_size, -0.0F};
    dense2D<float> metrics;
    metrics_iso_to_aniso2d(odd, metrics);
    EXPECT_TRUE(same(metrics, dense2D<float>(3, 4, 0.0F)));
    metrics_iso_to_aniso3d(odd, metrics);
    EXPECT_TRUE(same(metrics, dense2D<float>(6, 4, 0.0F)));
}

TEST(MetricsIsoToAniso, KeepsTheRowsOfAnEmptyField)
{
    dense2D<float> metrics(5, 7, 9.0F);
    metrics_iso_to_aniso2d(dense1D<float>(), metrics);
    EXPECT_EQ(metrics.rows, 3U);
    EXPECT_EQ(metrics.cols, 0U);
    EXPECT_TRUE(are_valid_metrics(metrics));
    metrics_iso_to_aniso3d(dense1D<float>(), metrics);
    EXPECT_EQ(metrics.rows, 6U);
    EXPECT_EQ(metrics.cols, 0U);
}

TEST(MetricsIsoToAniso, UsesTheStorageAgain)
{
    dense2D<float> metrics(6, 10, 9.0F);
    const float* storage = metrics.vec->data;
    const auto calls = allocation::calls();
    metrics_iso_to_aniso2d(sizes, metrics);
    EXPECT_EQ(metrics.vec->data, storage);
    metrics_iso_to_aniso3d(sizes, metrics);
    EXPECT_EQ(metrics.vec->data, storage);
    EXPECT_EQ(metrics_iso_to_aniso2d(sizes, bases, metrics), 0);
    EXPECT_EQ(metrics.vec->data, storage);
    EXPECT_EQ(allocation::calls(), calls);
}

TEST(MetricsIsoToAniso, ReadsSizesFromTheStorageItFills)
{
    for (const int form : {0, 1, 2}) {
        dense2D<float> metrics = columns<float>({{0.5F, 2, -1}, {1, 2, 4}});
        const dense1D<float> inside = metrics.as_vector();
        const dense1D<float> before = duplicate(inside);
        dense2D<float> expected;
        const dense2D<double> six(6, 6, 1.0);
        if (form == 0) {
            metrics_iso_to_aniso2d(inside, metrics);
            metrics_iso_to_aniso2d(before, expected);
        } else if (form == 1) {
            metrics_iso_to_aniso3d(inside, metrics);
            metrics_iso_to_aniso3d(before, expected);
        } else {
            EXPECT_EQ(metrics_iso_to_aniso2d(inside, six, metrics), 0);
            EXPECT_EQ(metrics_iso_to_aniso2d(before, six, expected), 0);
        }
        EXPECT_GT(expected(0, 0), 0);
        EXPECT_GT(expected(0, 5), 0);
        EXPECT_TRUE(same(metrics, expected)) << "form " << form;
    }
}

TEST(MetricIsoToAniso2d, MeasuresTheBasis)
{
    tensor2 m{9, 9, 9};
    metric_iso_to_aniso2d(0.5, plane{1, 0, 0, 1, 2, 0}, m);
    EXPECT_TRUE(same(m, {4, 4, 20})); // 4 times 1, 1 and 5
}

TEST(MetricIsoToAniso2d, GivesZeroForSizesThatAreNotAboveZeroOrTooLarge)
{
    for (const double h : {-1.0, 0.0, nan_value, infinity, 1e200}) {
        tensor2 m{9, 9, 9};
        metric_iso_to_aniso2d(h, plane{infinity, 0, 0, nan_value, 2, 0}, m);
        EXPECT_TRUE(same(m, {0, 0, 0})) << h;
    }
}

TEST(MetricIsoToAniso2d, IsTheTensorOfSpaceSeenInThePlane)
{
    random_tensors random(79);
    for (int run = 0; run < 500; ++run) {
        plane basis;
        for (double& x : basis.data) x = random.number(-2, 2);
        const double h = random.number(0.01, 3);
        tensor2 m{};
        metric_iso_to_aniso2d(h, basis, m);
        tensor3 space{};
        metric_iso_to_aniso(h, space);
        tensor2 expected{};
        metric_aniso3d_to_aniso2d(space, basis, expected);
        EXPECT_TRUE(near(m, expected, 1e-14)) << "run " << run;
    }
}

TEST(MetricsIsoToAniso2dInPlanes, ConvertsAField)
{
    dense2D<float> metrics(5, 7, 9.0F);
    EXPECT_EQ(metrics_iso_to_aniso2d(sizes, bases, metrics), 0);
    EXPECT_TRUE(same(metrics, in_planes));
}

TEST(MetricsIsoToAniso2dInPlanes, RefusesBasesThatDoNotFitAndKeepsTheMetrics)
{
    struct {
        dense1D<float> sizes;
        dense2D<double> bases;
    } const rows[] = {{sizes, dense2D<double>(3, 4, 1.0)},
                      {sizes, dense2D<double>(5, 4, 1.0)},
                      {sizes, dense2D<double>(6, 3, 1.0)},
                      {sizes, dense2D<double>(6, 5, 1.0)},
                      {sizes, dense2D<double>(7, 3, 1.0)},
                      {sizes, dense2D<double>()},
                      {{}, dense2D<double>()},
                      {{}, dense2D<double>(6, 1, 1.0)}};
    for (const auto& row : rows) {
        dense2D<float> metrics(5, 7, 9.0F);
        EXPECT_EQ(metrics_iso_to_aniso2d(row.sizes, row.bases, metrics), -2);
        EXPECT_TRUE(same(metrics, dense2D<float>(5, 7, 9.0F)));
    }
}

TEST(MetricsIsoToAniso2dInPlanes, TakesEmptyFields)
{
    dense2D<float> metrics(5, 7, 9.0F);
    EXPECT_EQ(metrics_iso_to_aniso2d(dense1D<float>(), dense2D<double>(6, 0), metrics), 0);
    EXPECT_EQ(metrics.rows, 3U);
    EXPECT_EQ(metrics.cols, 0U);
}

TEST(MetricsIsoToAniso2dInPlanes, ReadsViews)
{
    const strided<double> apart(bases);
    dense1D<float> many{9, 0.5F, 0, 2, -1, 9};
    dense2D<float> metrics;
    EXPECT_EQ(metrics_iso_to_aniso2d(many.sub_vector(1, 4), apart.view, metrics), 0);
    EXPECT_TRUE(same(metrics, in_planes));
}

TEST(MetricsIsoToAniso, FillsAViewFromItsPlaceOn)
{
    dense1D<float> storage(30);
    storage = 7.0F;
    dense2D<float> metrics;
    metrics.vec = storage.vec;
    metrics.offset = 2;
    metrics_iso_to_aniso2d(sizes, metrics);
    EXPECT_TRUE(same(metrics, flat));
    EXPECT_EQ(metrics.vec.get(), storage.vec.get());
    EXPECT_EQ(storage[1], 7.0F);
    EXPECT_EQ(storage[2], 4.0F);
    EXPECT_EQ(storage[14], 7.0F);
}

TEST(MetricsIsoToAniso, IsEmptyWithoutAnErrorWhereMemoryIsExhausted)
{
    for (const int form : {0, 1, 2})
        for (const bool onwards : {false, true}) {
            const auto ask = [&](std::size_t, auto run) {
                dense2D<float> metrics(2, 1, 9.0F);
                const auto blocks = allocation::live_blocks();
                EXPECT_EQ(run([&] {
                              if (form == 2) return metrics_iso_to_aniso2d(sizes, bases, metrics);
                              if (form == 1) metrics_iso_to_aniso3d(sizes, metrics);
                              if (form == 0) metrics_iso_to_aniso2d(sizes, metrics);
                              return 0;
                          }),
                          0);
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

TEST(MetricsIsoToAniso, IsEmptyWhereSharedSizesFindNoMemoryForTheirCopy)
{
    const auto ask = [](std::size_t n, auto run) {
        dense2D<float> metrics = columns<float>({{0.5F, 2, -1}, {1, 2, 4}});
        const dense1D<float> inside = metrics.as_vector();
        run([&] {
            metrics_iso_to_aniso2d(inside, metrics);
            return 0;
        });
        EXPECT_TRUE(metrics.cols == 6 ? metrics(0, 0) == 4 : metrics.rows == 0)
            << "allocation " << n;
    };
    EXPECT_EQ(allocation::sweep<allocation::fail_containers>(ask), 2U); // the copy and the metrics
    EXPECT_EQ(allocation::sweep<allocation::fail_new>(ask), 1U);
}
