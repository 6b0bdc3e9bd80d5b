#include <cmath>
#include <limits>
#include <new>

#include <kz3/lattiq/geometry.h>

#include "support/allocation.h"
#include "support/same.h"

namespace {
using kz3::lattiq::inc_bounding_box;

const double nan_value = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();

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

TEST(IncBoundingBox, ReadsTheListedNodesOfAStridedView)
{
    const strided<double> pos(columns<double>({{1, 2, 3}, {3, 4, -9}, {0, 0, 0}}));
    const strided<unsigned> used(columns<unsigned>({{1, 0}}));
    vector_fixed<double, 3> min{2, 2, 2};
    vector_fixed<double, 3> max{2, 2, 2};
    EXPECT_EQ(inc_bounding_box(pos.view, used.view, min, max), 0);
    EXPECT_TRUE(holds(min, {1, 2, -9}));
    EXPECT_TRUE(holds(max, {3, 4, 3}));
}

TEST(IncBoundingBox, TakesInfiniteBoundsAndCoordinates)
{
    vector_fixed<double, 2> min{infinity, infinity};
    vector_fixed<double, 2> max{-infinity, -infinity};
    EXPECT_EQ(inc_bounding_box(dense2D<double>(2, 0), min, max), 0);
    EXPECT_TRUE(holds(min, {infinity, infinity}));
    EXPECT_EQ(inc_bounding_box(columns<double>({{5, -infinity}, {7, 1}}), min, max), 0);
    EXPECT_TRUE(holds(min, {5, -infinity}));
    EXPECT_TRUE(holds(max, {7, 1}));
    EXPECT_EQ(inc_bounding_box(columns<double>({{infinity, 0}}), min, max), 0);
    EXPECT_TRUE(holds(max, {infinity, 1}));
}

TEST(IncBoundingBox, ReplacesBoundsThatAreNotANumberOnlyBelow)
{
    vector_fixed<double, 2> min{nan_value, nan_value};
    vector_fixed<double, 2> max{nan_value, nan_value};
    EXPECT_EQ(
        inc_bounding_box(columns<double>({{5, 6}, {7, 1}}), dense1D<unsigned>{0, 1}, min, max), 0);
    EXPECT_TRUE(holds(min, {5, 1}));
    EXPECT_TRUE(holds(max, {nan_value, nan_value}));
}

TEST(IncBoundingBox, KeepsBoundsThatACoordinateMeets)
{
    vector_fixed<double, 2> min{1, -0.0};
    vector_fixed<double, 2> max{1, -0.0};
    EXPECT_EQ(inc_bounding_box(columns<double>({{1, 0.0}}), min, max), 0);
    EXPECT_TRUE(std::signbit(min[1])); // 0 is at or above -0 and not above it
    EXPECT_TRUE(std::signbit(max[1]));
}

TEST(IncBoundingBox, OfAListOfHolesChecksTheRowsAndChangesNothing)
{
    const dense1D<unsigned> holes{none, none};
    vector_fixed<double, 2> min{5, 5};
    vector_fixed<double, 2> max{5, 5};
    EXPECT_EQ(inc_bounding_box(columns<double>({{1, 2}}), holes, min, max), 0);
    EXPECT_EQ(inc_bounding_box(columns<double>({{1, 2, 3}}), holes, min, max), -1);
    // A matrix of holes has no node, so that its list is empty and nothing is checked.
    EXPECT_EQ(inc_bounding_box(columns<double>({{1, 2, 3}}), columns<unsigned>({{none}}), min, max),
              0);
    EXPECT_TRUE(holds(min, {5, 5}));
    EXPECT_TRUE(holds(max, {5, 5}));
}

TEST(IncBoundingBox, SurvivesExhaustedMemory)
{
    // A node that the list found no memory for is not looked at: the box is that of some of them.
    const auto flat = columns<double>({{1, 2}, {3, 4}, {5, 6}});
    const auto space = columns<double>({{1, 2, 0}, {3, 4, 0}, {5, 6, 0}});
    const dense1D<unsigned> ids{2, 0};
    const auto used = columns<unsigned>({{0, 1}, {1, 2}});
    const auto sweep = [](auto zero, bool collects, auto call) {
        const auto attempt = [&](std::size_t n, auto run) {
            const std::size_t blocks = allocation::live_blocks();
            auto min = zero;
            auto max = zero;
            min = 2.5;
            max = 2.5;
            bool threw = false;
            try {
                EXPECT_EQ(run([&] { return call(min, max); }), 0);
            } catch (const std::bad_alloc&) {
                threw = true;
            }
            EXPECT_TRUE(min[0] == 1 || (collects && min[0] == 2.5)) << "allocation " << n;
            EXPECT_TRUE(max[0] == 5 || (collects && (max[0] == 2.5 || max[0] == 3)))
                << "allocation " << n;
            EXPECT_TRUE(!threw || max[0] == 2.5) << "allocation " << n;
            EXPECT_EQ(allocation::live_blocks(), blocks) << "allocation " << n;
        };
        for (const bool onwards : {false, true}) {
            const auto refused = allocation::sweep<allocation::fail_containers>(attempt, onwards) +
                                 allocation::sweep<allocation::fail_new>(attempt, onwards);
            EXPECT_EQ(refused > 0, collects);
        }
    };
    const vector_fixed<double, 2> two{};
    const vector_fixed<double, 3> three{};
    sweep(two, false, [&](auto& min, auto& max) { return inc_bounding_box(flat, min, max); });
    sweep(three, false, [&](auto& min, auto& max) { return inc_bounding_box(space, min, max); });
    sweep(two, false, [&](auto& min, auto& max) { return inc_bounding_box(flat, ids, min, max); });
    sweep(three, false,
          [&](auto& min, auto& max) { return inc_bounding_box(space, ids, min, max); });
    sweep(two, true, [&](auto& min, auto& max) { return inc_bounding_box(flat, used, min, max); });
    sweep(three, true,
          [&](auto& min, auto& max) { return inc_bounding_box(space, used, min, max); });
}
