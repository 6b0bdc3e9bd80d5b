#include <cmath>
#include <limits>

#include <kz3/lattiq/geometry.h>

#include "geometry/nodes.h"
#include "geometry/sweeps.h"
#include "plain/geometry/motions.h"
#include "support/same.h"

namespace {
using kz3::lattiq::rotate;

const double pi = std::acos(-1.0);
const double nan_value = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
const vector_fixed<double, 2> origin2{0, 0};
const vector_fixed<double, 3> origin3{0, 0, 0};

} // namespace

TEST(Rotate, TurnsCounterClockwiseInThePlane)
{
    auto pos = columns<double>({{2, 1}, {1, 1}});
    EXPECT_EQ(rotate(pos, vector_fixed<double, 2>{1, 1}, pi / 2), 2);
    EXPECT_TRUE(near(pos, columns<double>({{1, 2}, {1, 1}}), 1e-15));
}

TEST(Rotate, TurnsRightHandedlyAboutAnAxisInSpace)
{
    auto pos = columns<double>({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
    EXPECT_EQ(rotate(pos, origin3, vector_fixed<double, 3>{0, 0, pi / 2}), 3);
    EXPECT_TRUE(near(pos, columns<double>({{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}), 1e-15));

    // About the diagonal by a third of a turn the axes follow each other.
    const double third = 2 * pi / 3 / std::sqrt(3.0);
    auto axes = columns<double>({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
    EXPECT_EQ(rotate(axes, origin3, vector_fixed<double, 3>{third, third, third}), 3);
    EXPECT_TRUE(near(axes, columns<double>({{0, 1, 0}, {0, 0, 1}, {1, 0, 0}}), 1e-15));
}

TEST(Rotate, ByNothingReturnsZeroAndWidensNothing)
{
    auto pos = columns<double>({{1, 2}});
    EXPECT_EQ(rotate(pos, origin2, 0.0), 0);
    EXPECT_EQ(rotate(pos, origin2, -0.0), 0);
    EXPECT_EQ(rotate(pos, origin2, nan_value), 0);
    EXPECT_EQ(rotate(pos, origin3, origin3), 0);
    EXPECT_EQ(rotate(pos, origin3, vector_fixed<double, 3>{0, nan_value, 0}), 0);
    EXPECT_TRUE(same(pos, columns<double>({{1, 2}})));
    EXPECT_EQ(rotate(pos, origin2, 1e-300), 1);
}

TEST(Rotate, ByAFullTurnStillCountsAllNodes)
{
    auto pos = cloud(3, 5, 1);
    const auto before = duplicate(pos);
    EXPECT_EQ(rotate(pos, origin3, vector_fixed<double, 3>{0, 2 * pi, 0}), 5);
    EXPECT_TRUE(near(pos, before, 1e-14));
}

TEST(Rotate, TurnsARepeatedNodeTwiceAndPassesOverHoles)
{
    auto pos = columns<double>({{1, 0}, {1, 0}});
    EXPECT_EQ(rotate(pos, origin2, pi / 2, dense1D<unsigned>{0, 0, none}), 2);
    EXPECT_TRUE(near(pos, columns<double>({{-1, 0}, {1, 0}}), 1e-15));

    auto space = columns<double>({{1, 0, 0}, {1, 0, 0}});
    const vector_fixed<double, 3> quarter{0, 0, pi / 2};
    EXPECT_EQ(rotate(space, origin3, quarter, dense1D<unsigned>{1, 7, 1}), 2);
    EXPECT_TRUE(near(space, columns<double>({{1, 0, 0}, {-1, 0, 0}}), 1e-15));
}

TEST(Rotate, TurnsEachNodeOfAConnectivityOnce)
{
    const auto mix = columns<unsigned>({{0, 2, none}, {2, 0, none}});
    auto pos = columns<double>({{1, 0}, {5, 5}, {0, 1}});
    EXPECT_EQ(rotate(pos, origin2, pi / 2, mix), 2);
    EXPECT_TRUE(near(pos, columns<double>({{0, 1}, {5, 5}, {-1, 0}}), 1e-15));

    auto space = columns<double>({{1, 0, 0}, {5, 5, 5}, {0, 1, 0}});
    EXPECT_EQ(rotate(space, origin3, vector_fixed<double, 3>{0, 0, pi / 2}, mix), 2);
    EXPECT_TRUE(near(space, columns<double>({{0, 1, 0}, {5, 5, 5}, {-1, 0, 0}}), 1e-15));
}

TEST(Rotate, WidensAPlaneMeshToTurnItOutOfThePlane)
{
    auto pos = columns<double>({{0, 1}, {0, 2}});
    EXPECT_EQ(rotate(pos, origin3, vector_fixed<double, 3>{pi / 2, 0, 0}), 2);
    EXPECT_TRUE(near(pos, columns<double>({{0, 0, 1}, {0, 0, 2}}), 1e-15));
}

TEST(Rotate, LeavesTheThirdRowAloneInThePlane)
{
    auto pos = columns<double>({{1, 0, 8}});
    EXPECT_EQ(rotate(pos, origin2, pi / 2), 1);
    EXPECT_TRUE(near(pos, columns<double>({{0, 1, 8}}), 1e-15));
}

TEST(Rotate, AddsNothingForADifferenceThatIsZeroOrNotANumber)
{
    // A zero times an infinite entry would be NaN; the node on the center stays there.
    auto pos = columns<double>({{nan_value, 1}, {0, 0}});
    EXPECT_EQ(rotate(pos, origin2, pi / 2), 2);
    EXPECT_EQ(pos(0, 0), -std::sin(pi / 2));
    EXPECT_EQ(pos(1, 0), std::cos(pi / 2));
    EXPECT_TRUE(same(pos.sub_matrix(0, 1, 2, 1), columns<double>({{0, 0}})));

    auto space = columns<double>({{nan_value, infinity, 0}});
    EXPECT_EQ(rotate(space, origin3, vector_fixed<double, 3>{0, 0, 1}), 1);
    EXPECT_EQ(space(0, 0), -infinity);
    EXPECT_EQ(space(1, 0), infinity);
}

TEST(Rotate, KeepsTheSignOfAZeroWhereItAddsNothing)
{
    auto pos = columns<double>({{-0.0, 0, nan_value}});
    const vector_fixed<double, 3> center{-0.0, -0.0, -0.0};
    EXPECT_EQ(rotate(pos, center, vector_fixed<double, 3>{0.3, 0.4, 0.5}), 1);
    for (std::size_t d = 0; d < 3; ++d) {
        EXPECT_EQ(pos(d, 0), 0.0);
        EXPECT_TRUE(std::signbit(pos(d, 0)));
    }
}

TEST(Rotate, AddsTheColumnsOfTheMatrixToTheCenterInOrder)
{
    const double angle = 0.7;
    const vector_fixed<double, 2> center{0.1, 0.2};
    auto pos = cloud(2, 50, 2);
    const auto before = duplicate(pos);
    ASSERT_EQ(rotate(pos, center, angle), 50);
    for (std::size_t j = 0; j < pos.cols; ++j) {
        const double dx = before(0, j) - center[0];
        const double dy = before(1, j) - center[1];
        EXPECT_EQ(pos(0, j), (center[0] + dx * std::cos(angle)) + dy * -std::sin(angle));
        EXPECT_EQ(pos(1, j), (center[1] + dx * std::sin(angle)) + dy * std::cos(angle));
    }
}

TEST(Rotate, UndoneIsTheIdentity)
{
    const vector_fixed<double, 3> center{1, 2, 3};
    for (const double angle : {1e-9, 0.1, 0.19999, 0.2, 0.20001, 1.0, 3.0, 100.0}) {
        auto pos = cloud(3, 20, 3);
        const auto before = duplicate(pos);
        const double part = angle / std::sqrt(14.0);
        rotate(pos, center, vector_fixed<double, 3>{part, -2 * part, 3 * part});
        rotate(pos, center, vector_fixed<double, 3>{-part, 2 * part, -3 * part});
        EXPECT_TRUE(near(pos, before, 1e-13)) << angle;
    }
}

TEST(Rotate, WritesThroughAStridedViewAndLeavesItsGapsAlone)
{
    strided<double> pos(columns<double>({{1, 0}, {0, 1}}));
    EXPECT_EQ(rotate(pos.view, origin2, pi / 2), 2);
    EXPECT_TRUE(near(pos.view, columns<double>({{0, 1}, {-1, 0}}), 1e-15));
    EXPECT_TRUE(pos.gaps_untouched());
}

TEST(Rotate, OfNothingIsNothing)
{
    dense2D<double> pos(2, 0);
    EXPECT_EQ(rotate(pos, origin2, 1.0), 0);
    EXPECT_EQ(rotate(pos, origin3, vector_fixed<double, 3>{1, 0, 0}), 0);
    auto some = columns<double>({{1, 2}});
    EXPECT_EQ(rotate(some, origin3, vector_fixed<double, 3>{1, 0, 0}, dense1D<unsigned>()), 0);
    EXPECT_EQ(some.rows, 2U);
}

TEST(Rotate, InSpaceAddsTheColumnsOfTheMatrixToTheCenterInOrder)
{
    // Above an angle of 0.2 every operation that leads to the matrix has its order.
    const vector_fixed<double, 3> center{0.1, -0.2, 0.3};
    for (const double angle : {0.21, 0.9, 2.0, 3.1, 7.7}) {
        const vector_fixed<double, 3> r{angle * 0.6, -angle * 0.64, angle * 0.48};
        auto pos = cloud(3, 50, 6);
        auto expected = duplicate(pos);
        for (std::size_t j = 0; j < 50; ++j) plain::rotate(expected, j, center, r);
        EXPECT_EQ(rotate(pos, center, r), 50);
        EXPECT_TRUE(same(pos, expected)) << angle;
    }
}

TEST(Rotate, BySmallAnglesInSpaceAgreesWithTheSeriesTermByTerm)
{
    const vector_fixed<double, 3> center{0.1, -0.2, 0.3};
    for (const double angle : {1e-8, 0.01, 0.1, 0.2}) {
        const vector_fixed<double, 3> r{angle * 0.6, -angle * 0.64, angle * 0.48};
        auto pos = cloud(3, 50, 7);
        auto expected = duplicate(pos);
        for (std::size_t j = 0; j < 50; ++j) plain::rotate(expected, j, center, r);
        EXPECT_EQ(rotate(pos, center, r), 50);
        EXPECT_TRUE(near(pos, expected, 1e-14)) << angle;
    }
}

TEST(Rotate, AboutAnUprightAxisInSpaceIsTheTurnInThePlane)
{
    for (const double angle : {-3.0, -0.1, 0.05, 0.5, 2.0}) {
        auto space = cloud(3, 30, 8);
        auto plane = duplicate(space);
        EXPECT_EQ(rotate(space, vector_fixed<double, 3>{1, 2, 9}, {0, 0, angle}), 30);
        EXPECT_EQ(rotate(plane, vector_fixed<double, 2>{1, 2}, angle), 30);
        EXPECT_TRUE(near(space, plane, 1e-14)) << angle;
    }
}

TEST(Rotate, UndoneInThePlaneIsTheIdentity)
{
    const vector_fixed<double, 2> center{1, -2};
    for (const double angle : {1e-9, 0.2, 1.0, 3.0, 100.0}) {
        auto pos = cloud(2, 20, 9);
        const auto before = duplicate(pos);
        EXPECT_EQ(rotate(pos, center, angle), 20);
        EXPECT_EQ(rotate(pos, center, -angle), 20);
        EXPECT_TRUE(near(pos, before, 1e-14)) << angle;
    }
}

TEST(Rotate, WidensFromOneRow)
{
    auto plane = columns<double>({{1}, {2}});
    EXPECT_EQ(rotate(plane, origin2, pi / 2, dense1D<unsigned>{1}), 1);
    EXPECT_TRUE(near(plane, columns<double>({{1, 0}, {0, 2}}), 1e-15));

    auto space = columns<double>({{1}, {2}});
    EXPECT_EQ(rotate(space, origin3, vector_fixed<double, 3>{0, -pi / 2, 0}), 2);
    EXPECT_TRUE(near(space, columns<double>({{0, 0, 1}, {0, 0, 2}}), 1e-15));
}

TEST(Rotate, WidensAStridedViewApartFromItsParent)
{
    strided<double> pos(columns<double>({{0, 1}, {0, 2}}));
    EXPECT_EQ(rotate(pos.view, origin3, vector_fixed<double, 3>{pi / 2, 0, 0}), 2);
    EXPECT_TRUE(near(pos.view, columns<double>({{0, 0, 1}, {0, 0, 2}}), 1e-15));
    EXPECT_TRUE(pos.gaps_untouched());
    EXPECT_TRUE(same(pos.parent.sub_matrix(2, 1, 2, 2), columns<double>({{0, 1}, {0, 2}})));
}

TEST(Rotate, MovesTheRowsThereAreAsIfTheOthersWereZeroWhenItCannotWiden)
{
    // The missing third component lies 1 below the center and brings in a share of its own.
    auto pos = columns<double>({{3, 0}, {0, 2}, {5, 5}, {1, 1}});
    const vector_fixed<double, 3> center{0, 0, 1};
    const vector_fixed<double, 3> quarter{pi / 2, 0, 0};
    {
        const allocation::fail_containers broken(1, true);
        EXPECT_EQ(rotate(pos, center, quarter, dense1D<unsigned>{}), 0);
        EXPECT_FALSE(broken.fired());
        EXPECT_EQ(rotate(pos, center, quarter), 4);
        ASSERT_TRUE(broken.fired());
    }
    EXPECT_TRUE(near(pos, columns<double>({{3, 1}, {0, 1}, {5, 1}, {1, 1}}), 1e-14));
}

TEST(Rotate, ByAnInfiniteAngleLosesAllNodesButTheCenter)
{
    auto pos = columns<double>({{1, 2}, {0, 0}});
    EXPECT_EQ(rotate(pos, origin2, infinity), 2);
    EXPECT_TRUE(same(pos, columns<double>({{nan_value, nan_value}, {0, 0}})));

    auto space = columns<double>({{1, 2, 3}, {0, 0, 0}});
    EXPECT_EQ(rotate(space, origin3, vector_fixed<double, 3>{0, infinity, 0}), 2);
    EXPECT_TRUE(same(space, columns<double>({{nan_value, nan_value, nan_value}, {0, 0, 0}})));
}

TEST(Rotate, MovesAllByAVectorThatIsNotANumberInPart)
{
    auto space = columns<double>({{1, 2, 3}, {0, 0, 0}});
    EXPECT_EQ(rotate(space, origin3, vector_fixed<double, 3>{0, 1, nan_value}), 2);
    EXPECT_TRUE(same(space, columns<double>({{nan_value, nan_value, nan_value}, {0, 0, 0}})));
}

TEST(Rotate, SurvivesExhaustedMemory)
{
    const vector_fixed<double, 3> r{0, 0, 1};
    const dense1D<unsigned> ids{0, 2};
    const auto used = columns<unsigned>({{0, 1}, {1, 2}});
    const auto given = moved_nodes::given;
    const auto collected = moved_nodes::collected;
    sweep_motion(given, true, [](auto& pos) { return rotate(pos, origin2, 1.0); });
    sweep_motion(given, true, [&](auto& pos) { return rotate(pos, origin3, r); });
    sweep_motion(given, true, [&](auto& pos) { return rotate(pos, origin2, 1.0, ids); });
    sweep_motion(given, true, [&](auto& pos) { return rotate(pos, origin3, r, ids); });
    sweep_motion(collected, true, [&](auto& pos) { return rotate(pos, origin2, 1.0, used); });
    sweep_motion(collected, true, [&](auto& pos) { return rotate(pos, origin3, r, used); });
}
