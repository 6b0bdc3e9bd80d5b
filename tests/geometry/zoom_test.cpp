#include <limits>

#include <kz3/lattiq/geometry.h>

#include "geometry/nodes.h"
#include "geometry/sweeps.h"
#include "plain/geometry/motions.h"
#include "support/same.h"

namespace {
using kz3::lattiq::zoom;

const double nan_value = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
const vector_fixed<double, 2> center2{1, 1};
const vector_fixed<double, 3> center3{1, 1, 1};

} // namespace

TEST(Zoom, ScalesAllNodesAboutTheCenterAndCountsThem)
{
    auto flat = columns<double>({{2, 3}, {0, 1}});
    EXPECT_EQ(zoom(flat, center2, 2.0), 2);
    EXPECT_TRUE(same(flat, columns<double>({{3, 5}, {-1, 1}})));

    auto space = columns<double>({{2, 3, 5}});
    EXPECT_EQ(zoom(space, center3, 0.5), 1);
    EXPECT_TRUE(same(space, columns<double>({{1.5, 2, 3}})));
}

TEST(Zoom, ByZeroCollapsesAllNodesOnTheCenter)
{
    auto pos = columns<double>({{2, 3, 4}, {-5, 8, 1}});
    EXPECT_EQ(zoom(pos, center3, 0.0), 2);
    EXPECT_TRUE(same(pos, columns<double>({{1, 1, 1}, {1, 1, 1}})));
}

TEST(Zoom, ByOneReturnsZeroAndWidensNothing)
{
    auto pos = columns<double>({{2, 3}});
    EXPECT_EQ(zoom(pos, center3, 1.0), 0);
    EXPECT_EQ(zoom(pos, center3, nan_value), 0);
    EXPECT_EQ(zoom(pos, center3, 1.0, dense1D<unsigned>{0}), 0);
    EXPECT_EQ(zoom(pos, center2, 1.0, columns<unsigned>({{0}})), 0);
    EXPECT_TRUE(same(pos, columns<double>({{2, 3}})));
}

TEST(Zoom, AddsTheScaledDifferenceToTheNode)
{
    // 0.1 + (0.1 - 0.3) * (3.0 - 1.0) rounds apart from 0.3 + (0.1 - 0.3) * 3.0.
    const double x = 0.1;
    const double c = 0.3;
    auto pos = columns<double>({{x, x}});
    ASSERT_EQ(zoom(pos, vector_fixed<double, 2>{c, c}, 3.0), 1);
    EXPECT_EQ(pos(0, 0), x + (x - c) * (3.0 - 1.0));
    EXPECT_NE(pos(0, 0), c + (x - c) * 3.0);
}

// Nodes move two at a time, and an odd one alone.
TEST(Zoom, MovesAnyNumberOfNodesOfAnyNumberOfRowsAsOneByOne)
{
    const auto compare = [](const auto& center, std::size_t rows, std::size_t n) {
        auto expected = cloud(rows, n, unsigned(n));
        expected(0, n / 2) = infinity;
        expected(1, n - 1) = nan_value;
        expected(1, n / 3) = center[1];
        strided<double> pos(expected);
        auto dense = duplicate(expected);
        for (std::size_t j = 0; j < n; ++j) plain::zoom(expected, j, center, 0.3);
        EXPECT_EQ(zoom(dense, center, 0.3), int(n));
        EXPECT_TRUE(same_signs(dense, expected)) << rows << " rows, " << n << " nodes";
        EXPECT_EQ(zoom(pos.view, center, 0.3), int(n));
        EXPECT_TRUE(same_signs(pos.view, expected)) << rows << " rows, " << n << " nodes";
        EXPECT_TRUE(pos.gaps_untouched());
    };
    for (std::size_t n = 1; n < 8; ++n)
        for (const std::size_t rows : {2U, 3U, 4U, 5U}) {
            compare(vector_fixed<double, 2>{0.1, -0.2}, rows, n);
            if (rows > 2) compare(vector_fixed<double, 3>{0.1, -0.2, 0.3}, rows, n);
        }
}

TEST(Zoom, OfListedNodesReturnsZeroAndMovesRepeatedNodesRepeatedly)
{
    auto flat = columns<double>({{2, 3}, {2, 3}});
    EXPECT_EQ(zoom(flat, center2, 2.0, dense1D<unsigned>{1, 1}), 0);
    EXPECT_TRUE(same(flat, columns<double>({{2, 3}, {5, 9}})));

    auto space = columns<double>({{2, 3, 4}, {2, 3, 4}});
    EXPECT_EQ(zoom(space, center3, 2.0, dense1D<unsigned>{0}), 0);
    EXPECT_TRUE(same(space, columns<double>({{3, 5, 7}, {2, 3, 4}})));
}

TEST(Zoom, OfAConnectivityReturnsZeroAndMovesEachNodeOnce)
{
    const auto mix = columns<unsigned>({{0, 2, none}, {2, 0, none}});
    auto flat = columns<double>({{2, 3}, {7, 7}, {0, 0}});
    EXPECT_EQ(zoom(flat, center2, 2.0, mix), 0);
    EXPECT_TRUE(same(flat, columns<double>({{3, 5}, {7, 7}, {-1, -1}})));

    auto space = columns<double>({{2, 3, 4}, {7, 7, 7}, {0, 0, 0}});
    EXPECT_EQ(zoom(space, center3, 2.0, mix), 0);
    EXPECT_TRUE(same(space, columns<double>({{3, 5, 7}, {7, 7, 7}, {-1, -1, -1}})));
}

TEST(Zoom, WidensCoordinatesWithTooFewRowsByZeros)
{
    auto pos = columns<double>({{2}, {3}});
    EXPECT_EQ(zoom(pos, center3, 2.0), 2);
    EXPECT_TRUE(same(pos, columns<double>({{3, -1, -1}, {5, -1, -1}})));

    auto listed = columns<double>({{2, 2}, {3, 3}});
    EXPECT_EQ(zoom(listed, center3, 2.0, dense1D<unsigned>{0}), 0);
    EXPECT_TRUE(same(listed, columns<double>({{3, 3, -1}, {3, 3, 0}})));
}

TEST(Zoom, OfNothingIsNothing)
{
    dense2D<double> pos(2, 0);
    EXPECT_EQ(zoom(pos, center3, 2.0), 0);
    EXPECT_EQ(zoom(pos, center3, 2.0, dense1D<unsigned>()), 0);
    auto some = columns<double>({{2, 3}});
    EXPECT_EQ(zoom(some, center3, 2.0, dense1D<unsigned>()), 0);
    EXPECT_EQ(some.rows, 2U);
}

TEST(Zoom, LeavesOtherRowsAndTheGapsOfAViewAlone)
{
    strided<double> pos(columns<double>({{2, 3, 9}, {0, 1, 9}}));
    EXPECT_EQ(zoom(pos.view, center2, 2.0), 2);
    EXPECT_TRUE(same(pos.view, columns<double>({{3, 5, 9}, {-1, 1, 9}})));
    EXPECT_TRUE(pos.gaps_untouched());
}

TEST(Zoom, WidensToTheDimensionOfTheCenterAlone)
{
    auto line = columns<double>({{2}, {3}});
    EXPECT_EQ(zoom(line, center2, 2.0), 2);
    EXPECT_TRUE(same(line, columns<double>({{3, -1}, {5, -1}})));

    auto flat = columns<double>({{2, 3}, {0, 1}});
    const dense2D<double> before(flat);
    EXPECT_EQ(zoom(flat, center3, 3.0, columns<unsigned>({{0}})), 0);
    EXPECT_TRUE(same(flat, columns<double>({{4, 7, -2}, {0, 1, 0}})));
    EXPECT_TRUE(same(before, columns<double>({{2, 3}, {0, 1}})));
}

TEST(Zoom, WidensAStridedViewApartFromItsParent)
{
    strided<double> pos(columns<double>({{2, 3}, {0, 1}}));
    EXPECT_EQ(zoom(pos.view, center3, 2.0), 2);
    EXPECT_TRUE(same(pos.view, columns<double>({{3, 5, -1}, {-1, 1, -1}})));
    EXPECT_TRUE(pos.gaps_untouched());
}

TEST(Zoom, MovesTheRowsThereAreAsIfTheOthersWereZeroWhenItCannotWiden)
{
    auto pos = columns<double>({{2, 3}, {0, 1}, {5, 5}, {1, 1}});
    {
        const allocation::fail_containers broken(1, true);
        EXPECT_EQ(zoom(pos, center3, 2.0), 4);
        ASSERT_TRUE(broken.fired());
    }
    EXPECT_TRUE(same(pos, columns<double>({{3, 5}, {-1, 1}, {9, 9}, {1, 1}})));
}

TEST(Zoom, CarriesInfinitiesAndNotANumberThrough)
{
    auto pos = columns<double>({{infinity, nan_value}, {1, 3}});
    EXPECT_EQ(zoom(pos, center2, 2.0), 2);
    EXPECT_TRUE(same(pos, columns<double>({{infinity, nan_value}, {1, 5}})));
    // An infinite factor sends what is off the center away; the center itself is lost.
    EXPECT_EQ(zoom(pos, center2, infinity), 2);
    EXPECT_TRUE(same(pos, columns<double>({{infinity, nan_value}, {nan_value, infinity}})));
}

TEST(Zoom, ByTheReciprocalFactorIsTheIdentity)
{
    auto pos = cloud(3, 100, 5);
    const auto before = duplicate(pos);
    EXPECT_EQ(zoom(pos, center3, 4.0), 100);
    EXPECT_EQ(zoom(pos, center3, 0.25), 100);
    EXPECT_TRUE(near(pos, before, 1e-14));
}

TEST(Zoom, SurvivesExhaustedMemory)
{
    const dense1D<unsigned> ids{0, 2};
    const auto used = columns<unsigned>({{0, 1}, {1, 2}});
    const auto given = moved_nodes::given;
    const auto collected = moved_nodes::collected;
    sweep_motion(given, true, [](auto& pos) { return zoom(pos, center2, 2.0); });
    sweep_motion(given, true, [](auto& pos) { return zoom(pos, center3, 2.0); });
    sweep_motion(given, false, [&](auto& pos) { return zoom(pos, center2, 2.0, ids); });
    sweep_motion(given, false, [&](auto& pos) { return zoom(pos, center3, 2.0, ids); });
    sweep_motion(collected, false, [&](auto& pos) { return zoom(pos, center2, 2.0, used); });
    sweep_motion(collected, false, [&](auto& pos) { return zoom(pos, center3, 2.0, used); });
}
