#include <kz3/lattiq/metrics.h>

#include "metrics/tensors.h"
#include "support/allocation.h"

using namespace kz3::lattiq;

namespace {

constexpr float nan_size = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite_size = std::numeric_limits<float>::infinity();

const auto plane_field = columns<float>({{1, 0, 1}, {1, 2, 1}, {2, 0, 3}});
const auto space_field = columns<float>({{1, 0, 1, 0, 0, 1}, {1, 2, 1, 0, 0, 1}});

} // namespace

TEST(AreValidMetrics, AcceptsSizesAboveZero)
{
    EXPECT_TRUE(are_valid_metrics(dense1D<float>{1, 1e-45F, 3.4e38F}));
}

TEST(AreValidMetrics, AcceptsAnEmptyListOfSizes)
{
    EXPECT_TRUE(are_valid_metrics(dense1D<float>()));
}

TEST(AreValidMetrics, RefusesSizesThatAreZeroNegativeInfiniteOrNoNumber)
{
    for (const float wrong : {0.0F, -0.0F, -1.0F, infinite_size, -infinite_size, nan_size}) {
        EXPECT_FALSE(are_valid_metrics(dense1D<float>{wrong, 1, 1}));
        EXPECT_FALSE(are_valid_metrics(dense1D<float>{1, 1, wrong}));
    }
}

TEST(AreValidMetrics, AsksOnlyTheSizesListed)
{
    const dense1D<float> sizes{1, 0, 2};
    EXPECT_TRUE(are_valid_metrics(dense1D<unsigned>{2, 0, 2}, sizes));
    EXPECT_FALSE(are_valid_metrics(dense1D<unsigned>{0, 1}, sizes));
}

TEST(AreValidMetrics, RefusesNodesWithoutASize)
{
    const dense1D<float> sizes{1, 1, 2};
    EXPECT_FALSE(are_valid_metrics(dense1D<unsigned>{0, 3}, sizes));
    EXPECT_FALSE(are_valid_metrics(dense1D<unsigned>{none}, sizes));
    EXPECT_FALSE(are_valid_metrics(dense1D<unsigned>{0}, dense1D<float>()));
}

TEST(AreValidMetrics, AcceptsAnEmptyListOfNodesWithAnySizes)
{
    EXPECT_TRUE(are_valid_metrics(dense1D<unsigned>(), dense1D<float>{nan_size, 0}));
    EXPECT_TRUE(are_valid_metrics(dense1D<unsigned>(), dense1D<float>()));
}

TEST(AreValidMetrics, AsksEveryColumn)
{
    EXPECT_FALSE(are_valid_metrics(plane_field));
    EXPECT_TRUE(are_valid_metrics(plane_field.sub_matrix(0, 0, 3, 1)));
    EXPECT_TRUE(are_valid_metrics(plane_field.sub_matrix(0, 2, 3, 1)));
    EXPECT_FALSE(are_valid_metrics(space_field));
    EXPECT_TRUE(are_valid_metrics(space_field.sub_matrix(0, 0, 6, 1)));
}

TEST(AreValidMetrics, ReadsColumnsInSpaceAsTensorsOfSpace)
{
    // its first three rows are a valid tensor, its last three too
    EXPECT_FALSE(are_valid_metrics(columns<float>({{1, 0, 1, 1, 0, 1}})));
}

TEST(AreValidMetrics, AcceptsFieldsOfThreeOrSixRowsWithoutColumns)
{
    EXPECT_TRUE(are_valid_metrics(dense2D<float>(3, 0)));
    EXPECT_TRUE(are_valid_metrics(dense2D<float>(6, 0)));
}

TEST(AreValidMetrics, RefusesOtherNumbersOfRowsEvenWithoutColumns)
{
    EXPECT_FALSE(are_valid_metrics(dense2D<float>()));
    for (const std::size_t rows : {0, 1, 2, 4, 5, 7})
        for (const std::size_t cols : {0, 1})
            EXPECT_FALSE(are_valid_metrics(dense2D<float>(rows, cols, 1.0F))) << rows;
}

TEST(AreValidMetrics, AsksOnlyTheColumnsListed)
{
    EXPECT_TRUE(are_valid_metrics(dense1D<unsigned>{2, 0, 2}, plane_field));
    EXPECT_FALSE(are_valid_metrics(dense1D<unsigned>{0, 1}, plane_field));
    EXPECT_TRUE(are_valid_metrics(dense1D<unsigned>{0}, space_field));
    EXPECT_FALSE(are_valid_metrics(dense1D<unsigned>{1}, space_field));
}

TEST(AreValidMetrics, RefusesNodesWithoutAColumn)
{
    EXPECT_FALSE(are_valid_metrics(dense1D<unsigned>{0, 3}, plane_field));
    EXPECT_FALSE(are_valid_metrics(dense1D<unsigned>{none}, plane_field));
    EXPECT_FALSE(are_valid_metrics(dense1D<unsigned>{0}, dense2D<float>(3, 0)));
}

TEST(AreValidMetrics, AcceptsNoNodesWithAFieldThatIsEmptyOrOfThreeOrSixRows)
{
    const dense1D<unsigned> nobody;
    EXPECT_TRUE(are_valid_metrics(nobody, dense2D<float>()));
    EXPECT_TRUE(are_valid_metrics(nobody, dense2D<float>(0, 2)));
    EXPECT_TRUE(are_valid_metrics(nobody, dense2D<float>(4, 0)));
    EXPECT_TRUE(are_valid_metrics(nobody, plane_field));
    EXPECT_TRUE(are_valid_metrics(nobody, space_field));
    EXPECT_FALSE(are_valid_metrics(nobody, dense2D<float>(4, 1, 1.0F)));
}

TEST(AreValidMetrics, RefusesNodesOfAFieldOfOtherRows)
{
    EXPECT_FALSE(are_valid_metrics(dense1D<unsigned>{0}, dense2D<float>(4, 1, 1.0F)));
    EXPECT_FALSE(are_valid_metrics(dense1D<unsigned>{0}, dense2D<float>()));
}

TEST(AreValidMetrics, WidensBeforeItJudges)
{
    // In floats the square of the trace would be infinite, and the products 0.
    EXPECT_TRUE(are_valid_metrics(columns<float>({{1e30F, 0, 1e30F}, {1e-30F, 0, 1e-30F}})));
}

TEST(AreValidMetrics, ReadsViews)
{
    const strided<float> apart(columns<float>({{1, 0, 1}, {2, 0, 3}}), nan_size);
    EXPECT_TRUE(are_valid_metrics(apart.view));
    EXPECT_TRUE(are_valid_metrics(dense1D<unsigned>{1, 0}, apart.view));
    dense1D<float> many{0, 1, 2, 0};
    EXPECT_TRUE(are_valid_metrics(many.sub_vector(1, 2)));
    dense1D<unsigned> ids{9, 1, 9};
    EXPECT_TRUE(are_valid_metrics(ids.sub_vector(1, 1), many));
}

TEST(AreValidMetrics, AllocatesNothing)
{
    const dense1D<float> sizes{1, 2};
    const dense1D<unsigned> ids{0};
    const auto ask = [&](std::size_t, auto run) {
        EXPECT_TRUE(run([&] {
            return are_valid_metrics(sizes) && are_valid_metrics(ids, sizes) &&
                   !are_valid_metrics(plane_field) && are_valid_metrics(ids, space_field);
        }));
    };
    EXPECT_EQ(allocation::sweep<allocation::fail_containers>(ask), 0U);
    EXPECT_EQ(allocation::sweep<allocation::fail_new>(ask), 0U);
}
