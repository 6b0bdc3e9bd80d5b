#include <kz3/lattiq/metrics.h>

#include "metrics/tensors.h"
#include "support/allocation.h"
#include "support/exhausted.h"

using namespace kz3::lattiq;

namespace {

constexpr float nan_size = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite_size = std::numeric_limits<float>::infinity();

template <typename Field, typename Fallback>
Field overwritten(const Field& field, const Fallback& fallback)
{
    auto result = duplicate(field);
    EXPECT_EQ(overwrite_invalid_metrics(result, fallback), 0);
    return result;
}

} // namespace

TEST(OverwriteInvalidMetrics, ReplacesSizesThatAreZeroOrNegative)
{
    EXPECT_TRUE(same(
        overwritten(dense1D<float>{0, -1, 3, -0.0F, -infinite_size}, dense1D<float>{4, 5, 6, 7, 8}),
        dense1D<float>{4, 5, 3, 7, 8}));
}

TEST(OverwriteInvalidMetrics, LeavesSizesThatAreInfiniteOrNoNumber)
{
    EXPECT_TRUE(same(overwritten(dense1D<float>{nan_size, infinite_size}, dense1D<float>{4, 5}),
                     dense1D<float>{nan_size, infinite_size}));
}

TEST(OverwriteInvalidMetrics, TakesOnlySizesAboveZero)
{
    EXPECT_TRUE(same(overwritten(dense1D<float>{-3, 0, -2, 0, 0},
                                 dense1D<float>{0, -1, nan_size, infinite_size, 1e-45F}),
                     dense1D<float>{-3, 0, -2, infinite_size, 1e-45F}));
}

TEST(OverwriteInvalidMetrics, StopsAtTheEndOfTheShorterListOfSizes)
{
    EXPECT_TRUE(
        same(overwritten(dense1D<float>{0, 0, 0}, dense1D<float>{1, 2}), dense1D<float>{1, 2, 0}));
    EXPECT_TRUE(same(overwritten(dense1D<float>{0}, dense1D<float>{1, 2}), dense1D<float>{1}));
    EXPECT_TRUE(same(overwritten(dense1D<float>{0}, dense1D<float>()), dense1D<float>{0}));
    EXPECT_TRUE(same(overwritten(dense1D<float>(), dense1D<float>{1}), dense1D<float>()));
}

TEST(OverwriteInvalidMetrics, TouchesNoSizeOutsideTheView)
{
    dense1D<float> sizes{0, 0, 0, 0};
    auto view = sizes.sub_vector(1, 2);
    EXPECT_EQ(overwrite_invalid_metrics(view, dense1D<float>{1, 2, 3}), 0);
    EXPECT_TRUE(same(sizes, dense1D<float>{0, 1, 2, 0}));
}

TEST(OverwriteInvalidMetrics, WritesTheTensorOfASize)
{
    EXPECT_TRUE(same(overwritten(dense2D<float>(3, 1, 0.0F), dense1D<float>{2}),
                     columns<float>({{0.25F, 0, 0.25F}})));
    EXPECT_TRUE(same(overwritten(dense2D<float>(6, 1, 0.0F), dense1D<float>{2}),
                     columns<float>({{0.25F, 0, 0.25F, 0, 0, 0.25F}})));
}

TEST(OverwriteInvalidMetrics, LeavesAnInvalidTensorWithoutASizeAboveZero)
{
    const auto metrics = columns<float>({{1, 2, 1}});
    for (const float size : {0.0F, -1.0F, nan_size})
        EXPECT_TRUE(same(overwritten(metrics, dense1D<float>{size}), metrics)) << size;
}

TEST(OverwriteInvalidMetrics, ReplacesEveryKindOfInvalidTensor)
{
    const auto metrics = columns<float>({{1, 2, 1},
                                         {1, 0, 1},
                                         {1, 0, 1e-30F},
                                         {nan_size, 0, 1},
                                         {1, infinite_size, 1},
                                         {-1, 0, -1},
                                         {2, 1, 2},
                                         {2, nan_size, 3}}); // valid by its trace
    dense1D<float> ones(8);
    ones = 1.0F;
    const auto expected = columns<float>({{1, 0, 1},
                                          {1, 0, 1},
                                          {1, 0, 1},
                                          {1, 0, 1},
                                          {1, 0, 1},
                                          {1, 0, 1},
                                          {2, 1, 2},
                                          {2, nan_size, 3}});
    EXPECT_TRUE(same(overwritten(metrics, ones), expected));
    EXPECT_TRUE(same(overwritten(columns<float>({{1, 2, 1, 0, 0, 1}, {1, 0, 1, nan_size, 0, 1}}),
                                 dense1D<float>{1, 2}),
                     columns<float>({{1, 0, 1, 0, 0, 1}, {0.25F, 0, 0.25F, 0, 0, 0.25F}})));
}

TEST(OverwriteInvalidMetrics, SquaresTheSizeInDouble)
{
    const float h = 1e-19F; // its square would be denormal in a float
    const auto result =
        overwritten(dense2D<float>(3, 3, 0.0F), dense1D<float>{h, infinite_size, 1e-30F});
    EXPECT_EQ(result(0, 0), float(1.0 / (double(h) * double(h))));
    EXPECT_EQ(result(0, 1), 0.0F);
    EXPECT_EQ(result(2, 2), infinite_size);
}

TEST(OverwriteInvalidMetrics, LeavesTheColumnsBeyondTheSizes)
{
    EXPECT_TRUE(same(overwritten(dense2D<float>(3, 2, 0.0F), dense1D<float>{1}),
                     columns<float>({{1, 0, 1}, {0, 0, 0}})));
    EXPECT_TRUE(same(overwritten(dense2D<float>(3, 1, 0.0F), dense1D<float>{1, 1, 1}),
                     columns<float>({{1, 0, 1}})));
    EXPECT_TRUE(same(overwritten(dense2D<float>(3, 1, 0.0F), dense1D<float>()),
                     columns<float>({{0, 0, 0}})));
}

TEST(OverwriteInvalidMetrics, RefusesTensorsOfOtherRowsThatSizesShallReplace)
{
    for (const std::size_t rows : {1, 2, 4, 5, 7}) {
        dense2D<float> metrics(rows, 2, 0.0F);
        EXPECT_EQ(overwrite_invalid_metrics(metrics, dense1D<float>{1, 1}), -1);
        EXPECT_EQ(overwrite_invalid_metrics(metrics, dense1D<float>()), -1);
        EXPECT_TRUE(same(metrics, dense2D<float>(rows, 2, 0.0F)));
        dense2D<float> empty(rows, 0);
        EXPECT_EQ(overwrite_invalid_metrics(empty, dense1D<float>{1, 1}), 0);
    }
    dense2D<float> empty(0, 2);
    EXPECT_EQ(overwrite_invalid_metrics(empty, dense1D<float>{1, 1}), 0);
    EXPECT_EQ(empty.cols, 2U);
}

TEST(OverwriteInvalidMetrics, TakesTheValidTensorsOfASecondField)
{
    const auto metrics = columns<float>({{0, 0, 0}, {2, 1, 2}, {1, 2, 1}, {nan_size, 0, 1}});
    const auto fallback = columns<float>({{3, 1, 4}, {9, 0, 9}, {-1, 0, 1}, {5, 0, 5}});
    EXPECT_TRUE(same(overwritten(metrics, fallback),
                     columns<float>({{3, 1, 4}, {2, 1, 2}, {1, 2, 1}, {5, 0, 5}})));
    EXPECT_TRUE(same(overwritten(columns<float>({{1, 2, 1, 0, 0, 1}, {0, 0, 0, 0, 0, 0}}),
                                 columns<float>({{3, 1, 4, 0, 1, 5}, {1, 0, 1, 0, 0, 0}})),
                     columns<float>({{3, 1, 4, 0, 1, 5}, {0, 0, 0, 0, 0, 0}})));
}

TEST(OverwriteInvalidMetrics, LeavesTheColumnsBeyondTheSecondField)
{
    EXPECT_TRUE(same(overwritten(dense2D<float>(3, 2, 0.0F), columns<float>({{1, 0, 1}})),
                     columns<float>({{1, 0, 1}, {0, 0, 0}})));
    EXPECT_TRUE(
        same(overwritten(dense2D<float>(3, 1, 0.0F), columns<float>({{1, 0, 1}, {1, 0, 1}})),
             columns<float>({{1, 0, 1}})));
    EXPECT_TRUE(same(overwritten(dense2D<float>(3, 1, 0.0F), dense2D<float>(3, 0)),
                     columns<float>({{0, 0, 0}})));
}

TEST(OverwriteInvalidMetrics, RefusesSecondFieldsByTheLadder)
{
    struct {
        dense2D<float> metrics, fallback;
        int code;
    } const rows[] = {
        {dense2D<float>(), dense2D<float>(), 0},
        {dense2D<float>(4, 0), dense2D<float>(4, 1, 1.0F), 0}, // empty before any rows
        {dense2D<float>(3, 0), dense2D<float>(6, 1, 1.0F), 0},
        {dense2D<float>(0, 3), dense2D<float>(4, 1, 1.0F), 0},
        {dense2D<float>(4, 1, 0.0F), dense2D<float>(3, 1, 1.0F), -1},
        {dense2D<float>(4, 1, 0.0F), dense2D<float>(4, 1, 1.0F), -1}, // both
        {dense2D<float>(5, 1, 0.0F), dense2D<float>(), -1},           // both
        {dense2D<float>(3, 1, 0.0F), dense2D<float>(), -2},
        {dense2D<float>(3, 1, 0.0F), dense2D<float>(4, 1, 1.0F), -2},
        {dense2D<float>(3, 1, 0.0F), columns<float>({{1, 0, 1, 0, 0, 1}}), -2},
        {dense2D<float>(6, 1, 0.0F), columns<float>({{1, 0, 1}}), -2},
        {dense2D<float>(6, 1, 0.0F), dense2D<float>(7, 1, 1.0F), -2},
    };
    for (const auto& row : rows) {
        auto metrics = duplicate(row.metrics);
        EXPECT_EQ(overwrite_invalid_metrics(metrics, row.fallback), row.code);
        EXPECT_TRUE(same(metrics, row.metrics));
    }
}

TEST(OverwriteInvalidMetrics, TakesAFieldAsItsOwnSecond)
{
    auto metrics = columns<float>({{0, 0, 0}, {2, 1, 2}});
    const auto before = duplicate(metrics);
    EXPECT_EQ(overwrite_invalid_metrics(metrics, metrics), 0);
    EXPECT_TRUE(same(metrics, before));
}

TEST(OverwriteInvalidMetrics, ServesStridedColumnsAndNothingBetween)
{
    strided<float> by_sizes(dense2D<float>(3, 2, 0.0F));
    EXPECT_EQ(overwrite_invalid_metrics(by_sizes.view, dense1D<float>{1, 2}), 0);
    EXPECT_TRUE(same(by_sizes.view, columns<float>({{1, 0, 1}, {0.25F, 0, 0.25F}})));
    EXPECT_TRUE(by_sizes.gaps_untouched());

    const auto tensors = columns<float>({{3, 1, 4, 0, 1, 5}, {1, 0, 1, 0, 0, 2}});
    const strided<float> fallback(tensors);
    strided<float> by_tensors(dense2D<float>(6, 2, 0.0F));
    EXPECT_EQ(overwrite_invalid_metrics(by_tensors.view, fallback.view), 0);
    EXPECT_TRUE(same(by_tensors.view, tensors));
    EXPECT_TRUE(by_tensors.gaps_untouched());
}

TEST(OverwriteInvalidMetrics, LeavesNoInvalidTensorWhereTheSecondFieldIsValid)
{
    random_tensors random(95);
    dense2D<float> metrics(6, 500);
    dense2D<float> fallback(6, 500);
    for (std::size_t j = 0; j < 500; ++j) {
        const auto bad = j % 2 == 0 ? random.hostile<3>() : random.any<3>();
        const auto good = random.positive<3>();
        for (std::size_t k = 0; k < 6; ++k) metrics(k, j) = float(bad[k]);
        for (std::size_t k = 0; k < 6; ++k) fallback(k, j) = float(good[k]);
    }
    EXPECT_FALSE(are_valid_metrics(metrics));
    EXPECT_EQ(overwrite_invalid_metrics(metrics, fallback), 0);
    EXPECT_TRUE(are_valid_metrics(metrics));
}

TEST(OverwriteInvalidMetrics, AllocatesNothing)
{
    dense1D<float> sizes{0, 9};
    const dense1D<float> one{1};
    auto flat = dense2D<float>(3, 2, 0.0F);
    auto solid = dense2D<float>(6, 2, 0.0F);
    const auto call = [&] {
        return overwrite_invalid_metrics(sizes, one) + overwrite_invalid_metrics(flat, one) +
               overwrite_invalid_metrics(solid, solid);
    };
    EXPECT_EQ(exhaust<allocation::fail_containers>({}, call), 0U);
    EXPECT_EQ(exhaust<allocation::fail_new>({}, call), 0U);
}
