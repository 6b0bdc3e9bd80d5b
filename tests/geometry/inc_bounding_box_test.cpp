#include <limits>
#include <new>

#include <kz3/lattiq/geometry.h>

#include "support/allocation.h"
#include "support/same.h"

namespace {
using kz3::lattiq::inc_bounding_box;

const double nan_value = std::numeric_limits<double>::quiet_NaN();

template <std::size_t N>
testing::AssertionResult holds(const vector_fixed<double, N>& v,
                               const vector_fixed<double, N>& expected)
{
    for (std::size_t d = 0; d < N; ++d)
        if (!equal(v[d], expected[d]))
            return testing::AssertionFailure()
                   << "[" << d << "]: " << v[d] << " against " << expected[d];
    return testing::AssertionSuccess();
}

} // namespace

TEST(IncBoundingBox, WidensTheBoxOfTheCallerOnlyWhereNodesLieOutside)
{
    const auto pos = columns<double>({{1, 8}, {3, -2}});
    vector_fixed<double, 2> min{2, 0};
    vector_fixed<double, 2> max{2, 9};
    EXPECT_EQ(inc_bounding_box(pos, min, max), 0);
    EXPECT_TRUE(holds(min, {1, -2}));
    EXPECT_TRUE(holds(max, {3, 9}));

    const auto space = columns<double>({{1, 8, 3}, {3, -2, 4}});
    vector_fixed<double, 3> low{1e300, 1e300, 1e300};
    vector_fixed<double, 3> high{-1e300, -1e300, -1e300};
    EXPECT_EQ(inc_bounding_box(space, low, high), 0);
    EXPECT_TRUE(holds(low, {1, -2, 3}));
    EXPECT_TRUE(holds(high, {3, 8, 4}));
}

TEST(IncBoundingBox, LetsNotANumberReplaceTheLowerBoundAndNeverTheUpper)
{
    auto pos = columns<double>({{nan_value, 1}});
    vector_fixed<double, 2> min{0, 0};
    vector_fixed<double, 2> max{0, 0};
    EXPECT_EQ(inc_bounding_box(pos, min, max), 0);
    EXPECT_TRUE(holds(min, {nan_value, 0}));
    EXPECT_TRUE(holds(max, {0, 1}));
    // The next node replaces it again, since nothing is at or above NaN.
    EXPECT_EQ(inc_bounding_box(columns<double>({{7, 1}}), min, max), 0);
    EXPECT_TRUE(holds(min, {7, 0}));
}

TEST(IncBoundingBox, RefusesCoordinatesOfOtherRowsEvenIfEmpty)
{
    vector_fixed<double, 2> min{5, 5};
    vector_fixed<double, 2> max{5, 5};
    EXPECT_EQ(inc_bounding_box(columns<double>({{1, 2, 3}}), min, max), -1);
    EXPECT_EQ(inc_bounding_box(dense2D<double>(), min, max), -1);
    EXPECT_EQ(inc_bounding_box(dense2D<double>(2, 0), min, max), 0);
    vector_fixed<double, 3> low{5, 5, 5};
    vector_fixed<double, 3> high{5, 5, 5};
    EXPECT_EQ(inc_bounding_box(columns<double>({{1, 2}}), low, high), -1);
    EXPECT_TRUE(holds(min, {5, 5}));
    EXPECT_TRUE(holds(low, {5, 5, 5}));
}

TEST(IncBoundingBox, ChecksItsArgumentsInOrder)
{
    const auto flat = columns<double>({{1, 2}, {3, 4}});
    vector_fixed<double, 3> low{5, 5, 5};
    vector_fixed<double, 3> high{5, 5, 5};
    // an empty list before the rows, the rows before the ids
    EXPECT_EQ(inc_bounding_box(flat, dense1D<unsigned>(), low, high), 0);
    EXPECT_EQ(inc_bounding_box(flat, dense1D<unsigned>{2}, low, high), -1);
    EXPECT_EQ(inc_bounding_box(flat, columns<unsigned>({{2}}), low, high), -1);
    EXPECT_EQ(inc_bounding_box(flat, dense2D<unsigned>(), low, high), 0);

    vector_fixed<double, 2> min{5, 5};
    vector_fixed<double, 2> max{5, 5};
    EXPECT_EQ(inc_bounding_box(flat, dense1D<unsigned>{0, 2}, min, max), -2);
    EXPECT_EQ(inc_bounding_box(flat, columns<unsigned>({{0, 2}}), min, max), -2);
    EXPECT_TRUE(holds(min, {5, 5}));
    EXPECT_TRUE(holds(max, {5, 5}));
    EXPECT_TRUE(holds(low, {5, 5, 5}));
}

TEST(IncBoundingBox, LooksAtListedNodesOnly)
{
    const auto flat = columns<double>({{1, 2}, {100, 100}, {3, -4}});
    vector_fixed<double, 2> min{2, 2};
    vector_fixed<double, 2> max{2, 2};
    EXPECT_EQ(inc_bounding_box(flat, dense1D<unsigned>{2, 0, none}, min, max), 0);
    EXPECT_TRUE(holds(min, {1, -4}));
    EXPECT_TRUE(holds(max, {3, 2}));

    const auto space = columns<double>({{1, 2, 3}, {100, 100, 100}, {3, -4, 5}});
    vector_fixed<double, 3> low{2, 2, 4};
    vector_fixed<double, 3> high{2, 2, 4};
    EXPECT_EQ(inc_bounding_box(space, columns<unsigned>({{0, 2, none}}), low, high), 0);
    EXPECT_TRUE(holds(low, {1, -4, 3}));
    EXPECT_TRUE(holds(high, {3, 2, 5}));
    EXPECT_EQ(inc_bounding_box(space, dense1D<unsigned>{1}, low, high), 0);
    EXPECT_TRUE(holds(high, {100, 100, 100}));
}

TEST(IncBoundingBox, ReadsAStridedView)
{
    const strided<double> pos(columns<double>({{1, 2}, {3, 4}}));
    vector_fixed<double, 2> min{2, 2};
    vector_fixed<double, 2> max{2, 2};
    EXPECT_EQ(inc_bounding_box(pos.view, min, max), 0);
    EXPECT_TRUE(holds(min, {1, 2}));
    EXPECT_TRUE(holds(max, {3, 4}));
}

TEST(IncBoundingBox, SurvivesExhaustedMemory)
{
    const auto pos = columns<double>({{1, 2}, {3, 4}, {5, 6}});
    const auto used = columns<unsigned>({{0, 1}, {1, 2}});
    const auto attempt = [&](std::size_t, auto run) {
        const std::size_t blocks = allocation::live_blocks();
        vector_fixed<double, 2> min{2, 2};
        vector_fixed<double, 2> max{2, 2};
        try {
            EXPECT_EQ(run([&] { return inc_bounding_box(pos, used, min, max); }), 0);
        } catch (const std::bad_alloc&) {
        }
        EXPECT_EQ(allocation::live_blocks(), blocks);
    };
    for (const bool onwards : {false, true}) {
        EXPECT_GT(allocation::sweep<allocation::fail_containers>(attempt, onwards), 0U);
        EXPECT_GT(allocation::sweep<allocation::fail_new>(attempt, onwards), 0U);
    }
}
