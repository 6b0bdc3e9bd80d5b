#include <cmath>
#include <limits>

#include <kz3/lattiq/geometry.h>

#include "geometry/nodes.h"
#include "geometry/sweeps.h"
#include "support/same.h"

namespace {
using kz3::lattiq::translate;

const double nan_value = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
const vector_fixed<double, 2> by2{10, 20};
const vector_fixed<double, 3> by3{10, 20, 30};
const dense1D<unsigned> one{1};

} // namespace

TEST(Translate, MovesAllNodesAndCountsThem)
{
    auto flat = columns<double>({{1, 2}, {3, 4}});
    EXPECT_EQ(translate(flat, by2), 2);
    EXPECT_TRUE(same(flat, columns<double>({{11, 22}, {13, 24}})));

    auto space = columns<double>({{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(translate(space, by3), 2);
    EXPECT_TRUE(same(space, columns<double>({{11, 22, 33}, {14, 25, 36}})));
}

TEST(Translate, LeavesTheThirdRowAloneInTwoDimensions)
{
    auto pos = columns<double>({{1, 2, 3}});
    EXPECT_EQ(translate(pos, by2), 1);
    EXPECT_TRUE(same(pos, columns<double>({{11, 22, 3}})));
}

TEST(Translate, WidensCoordinatesWithTooFewRowsByZeros)
{
    auto low = columns<double>({{1}, {2}});
    EXPECT_EQ(translate(low, by3), 2);
    EXPECT_TRUE(same(low, columns<double>({{11, 20, 30}, {12, 20, 30}})));

    auto two = columns<double>({{1, 2}});
    EXPECT_EQ(translate(two, by3), 1);
    EXPECT_TRUE(same(two, columns<double>({{11, 22, 30}})));

    auto line = columns<double>({{1}});
    EXPECT_EQ(translate(line, by2), 1);
    EXPECT_TRUE(same(line, columns<double>({{11, 20}})));
}

TEST(Translate, WidensAllColumnsForOneListed)
{
    auto pos = columns<double>({{1, 2}, {3, 4}});
    EXPECT_EQ(translate(pos, by3, dense1D<unsigned>{1}), 1);
    EXPECT_TRUE(same(pos, columns<double>({{1, 2, 0}, {13, 24, 30}})));
}

TEST(Translate, ByZeroReturnsZeroAndWidensNothing)
{
    auto pos = columns<double>({{1, 2}});
    const vector_fixed<double, 3> zero{0, -0.0, 0};
    EXPECT_EQ(translate(pos, zero), 0);
    EXPECT_EQ(translate(pos, zero, dense1D<unsigned>{0}), 0);
    EXPECT_EQ(translate(pos, zero, columns<unsigned>({{0}})), 0);
    EXPECT_TRUE(same(pos, columns<double>({{1, 2}})));
}

TEST(Translate, CountsNotANumberAsNoMotion)
{
    auto pos = columns<double>({{1, 2}});
    EXPECT_EQ(translate(pos, vector_fixed<double, 2>{nan_value, nan_value}), 0);
    EXPECT_TRUE(same(pos, columns<double>({{1, 2}})));
    // One component that moves takes the others along.
    EXPECT_EQ(translate(pos, vector_fixed<double, 2>{nan_value, 1}), 1);
    EXPECT_TRUE(same(pos, columns<double>({{nan_value, 3}})));
}

TEST(Translate, WidensNothingForAnEmptyList)
{
    auto pos = columns<double>({{1, 2}});
    EXPECT_EQ(translate(pos, by3, dense1D<unsigned>()), 0);
    EXPECT_EQ(translate(pos, by3, dense2D<unsigned>()), 0);
    EXPECT_EQ(pos.rows, 2U);
}

TEST(Translate, OfNothingIsNothing)
{
    dense2D<double> none_at_all;
    EXPECT_EQ(translate(none_at_all, by3), 0);
    dense2D<double> no_columns(2, 0);
    EXPECT_EQ(translate(no_columns, by3, dense1D<unsigned>{0}), 0);
    EXPECT_EQ(no_columns.rows, 2U);
}

TEST(Translate, MovesRepeatedNodesRepeatedlyAndPassesOverIdsThatAreNone)
{
    auto pos = columns<double>({{1, 2}, {3, 4}});
    EXPECT_EQ(translate(pos, by2, dense1D<unsigned>{1, none, 1, 2, 4000000000U}), 2);
    EXPECT_TRUE(same(pos, columns<double>({{1, 2}, {23, 44}})));
}

TEST(Translate, MovesEachNodeOfAConnectivityOnce)
{
    auto pos = columns<double>({{0, 0}, {1, 0}, {0, 1}, {5, 5}});
    const auto mix = columns<unsigned>({{0, 1, 2, none}, {2, 1, 0, none}});
    EXPECT_EQ(translate(pos, by2, mix), 3);
    EXPECT_TRUE(same(pos, columns<double>({{10, 20}, {11, 20}, {10, 21}, {5, 5}})));

    auto space = columns<double>({{0, 0, 0}, {1, 0, 0}});
    EXPECT_EQ(translate(space, by3, columns<unsigned>({{1}})), 1);
    EXPECT_TRUE(same(space, columns<double>({{0, 0, 0}, {11, 20, 30}})));
}

TEST(Translate, WritesThroughAStridedViewAndLeavesItsGapsAlone)
{
    strided<double> pos(columns<double>({{1, 2}, {3, 4}}));
    EXPECT_EQ(translate(pos.view, by2), 2);
    EXPECT_TRUE(same(pos.view, columns<double>({{11, 22}, {13, 24}})));
    EXPECT_TRUE(pos.gaps_untouched());
    EXPECT_EQ(pos.parent(2, 1), 11.0);
}

TEST(Translate, WideningLeavesOtherViewsAsTheyWere)
{
    auto pos = columns<double>({{1, 2}, {3, 4}});
    const dense2D<double> before(pos);
    EXPECT_EQ(translate(pos, by3), 2);
    EXPECT_TRUE(same(pos, columns<double>({{11, 22, 30}, {13, 24, 30}})));
    EXPECT_TRUE(same(before, columns<double>({{1, 2}, {3, 4}})));
}

TEST(Translate, GoesOnWithTheRowsThereAreWhenItCannotWiden)
{
    auto pos = columns<double>({{1, 2}, {3, 4}, {5, 6}, {7, 8}});
    const dense2D<double> shared(pos);
    {
        const allocation::fail_containers broken(1, true);
        EXPECT_EQ(translate(pos, by3), 4);
        ASSERT_TRUE(broken.fired());
    }
    EXPECT_TRUE(same(pos, columns<double>({{11, 22}, {13, 24}, {15, 26}, {17, 28}})));
}

TEST(Translate, GoesOnWithTheRowsThereAreWhenItCannotLeaveASharedStorage)
{
    auto pos = columns<double>({{1, 2}, {3, 4}});
    const dense2D<double> shared(pos);
    {
        const allocation::fail_new broken(1, true);
        EXPECT_EQ(translate(pos, by3, one), 1);
        ASSERT_TRUE(broken.fired());
    }
    EXPECT_TRUE(same(pos, columns<double>({{1, 2}, {13, 24}})));
    EXPECT_TRUE(same(shared, pos)); // still one storage
}

TEST(Translate, WidensAStridedViewApartFromItsParent)
{
    strided<double> pos(columns<double>({{1, 2}, {3, 4}}));
    EXPECT_EQ(translate(pos.view, by3), 2);
    EXPECT_TRUE(same(pos.view, columns<double>({{11, 22, 30}, {13, 24, 30}})));
    EXPECT_TRUE(pos.gaps_untouched());
    EXPECT_TRUE(same(pos.parent.sub_matrix(2, 1, 2, 2), columns<double>({{1, 2}, {3, 4}})));
}

TEST(Translate, WidensAStridedViewHeldAloneByZerosWhateverItsGapsHold)
{
    dense2D<double> pos = strided<double>(columns<double>({{1}, {3}})).view;
    ASSERT_GT(pos.ld, pos.rows);
    EXPECT_EQ(translate(pos, by3, one), 1);
    EXPECT_TRUE(same(pos, columns<double>({{1, 0, 0}, {13, 20, 30}})));
}

TEST(Translate, TakesInfiniteComponentsAndCoordinates)
{
    auto pos = columns<double>({{1, infinity}, {-infinity, 2}});
    EXPECT_EQ(translate(pos, vector_fixed<double, 2>{infinity, 5}), 2);
    EXPECT_TRUE(same(pos, columns<double>({{infinity, infinity}, {nan_value, 7}})));
    EXPECT_EQ(translate(pos, vector_fixed<double, 2>{0, -infinity}), 2);
    EXPECT_TRUE(same(pos, columns<double>({{infinity, nan_value}, {nan_value, -infinity}})));
}

TEST(Translate, BackIsTheIdentity)
{
    // Eighths, so that no addition rounds.
    auto pos = cloud(3, 100, 4);
    for (std::size_t j = 0; j < pos.cols; ++j)
        for (std::size_t d = 0; d < 3; ++d) pos(d, j) = std::floor(pos(d, j) * 8) / 8;
    const auto before = duplicate(pos);
    EXPECT_EQ(translate(pos, vector_fixed<double, 3>{1.5, -7, 0.125}), 100);
    EXPECT_FALSE(same(pos, before));
    EXPECT_EQ(translate(pos, vector_fixed<double, 3>{-1.5, 7, -0.125}), 100);
    EXPECT_TRUE(same(pos, before));
}

TEST(Translate, OfAListMovesAndCountsWhatIsAColumn)
{
    // The same list by the form for a matrix: each once, and what is no column is passed over too.
    auto pos = columns<double>({{1, 2}, {3, 4}, {5, 6}});
    EXPECT_EQ(translate(pos, by2, columns<unsigned>({{2, 3}, {2, 0}})), 2);
    EXPECT_TRUE(same(pos, columns<double>({{11, 22}, {3, 4}, {15, 26}})));
    EXPECT_EQ(translate(pos, by2, dense1D<unsigned>{3, none}), 0);
    EXPECT_TRUE(same(pos, columns<double>({{11, 22}, {3, 4}, {15, 26}})));
}

TEST(Translate, WidensEvenWhereNoIdOfTheListIsAColumn)
{
    auto pos = columns<double>({{1, 2}});
    EXPECT_EQ(translate(pos, by3, dense1D<unsigned>{none, 1}), 0);
    EXPECT_TRUE(same(pos, columns<double>({{1, 2, 0}})));
}

TEST(Translate, SurvivesExhaustedMemory)
{
    const dense1D<unsigned> ids{0, 2};
    const auto used = columns<unsigned>({{0, 1}, {1, 2}});
    const auto given = moved_nodes::given;
    const auto collected = moved_nodes::collected;
    sweep_motion(given, true, [](auto& pos) { return translate(pos, by2); });
    sweep_motion(given, true, [](auto& pos) { return translate(pos, by3); });
    sweep_motion(given, true, [&](auto& pos) { return translate(pos, by2, ids); });
    sweep_motion(given, true, [&](auto& pos) { return translate(pos, by3, ids); });
    sweep_motion(collected, true, [&](auto& pos) { return translate(pos, by2, used); });
    sweep_motion(collected, true, [&](auto& pos) { return translate(pos, by3, used); });
}
