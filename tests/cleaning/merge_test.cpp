#include <limits>

#include <kz3/lattiq/cleaning.h>

#include "support/same.h"

namespace {
using kz3::lattiq::merge;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

// Nodes on the x axis.
dense2D<double> on_axis(std::initializer_list<double> xs)
{
    dense2D<double> pos(2, xs.size(), 0.0);
    std::size_t j = 0;
    for (const double x : xs) pos(0, j++) = x;
    return pos;
}

dense1D<unsigned> all_of(std::size_t n)
{
    dense1D<unsigned> list(n);
    for (std::size_t j = 0; j < n; ++j) list[j] = unsigned(j);
    return list;
}

} // namespace

// ---- lists ----

TEST(Merge, JoinsExactlyCoincidentNodesAtToleranceZero)
{
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(on_axis({1, 2, 1, 2.0000001}), all_of(4), id_map, 0.0), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 0, 3}));
}

TEST(Merge, TakesZerosOfEitherSignForOnePlace)
{
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(on_axis({-0.0, 0.0}), all_of(2), id_map, 0.0), 1);
    EXPECT_EQ(merge(on_axis({-0.0, 0.0}), all_of(2), id_map, -0.0), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 0}));
}

TEST(Merge, JoinsAtADistanceOfExactlyTheTolerance)
{
    const auto pos = columns<double>({{0, 0}, {3, 4}});
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(pos, all_of(2), id_map, 5.0), 1);
    EXPECT_EQ(merge(on_axis({0, 5}), all_of(2), id_map, 5.0), 1);
}

TEST(Merge, KeepsApartWhatIsNearAlongEachAxisOnly)
{
    const auto pos = columns<double>({{0, 0}, {3, 4}});
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(pos, all_of(2), id_map, 4.5), 0);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1}));
}

TEST(Merge, MeasuresAllThreeCoordinates)
{
    const auto pos = columns<double>({{0, 0, 0}, {2, 3, 6}});
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(pos, all_of(2), id_map, 6.9), 0);
    EXPECT_EQ(merge(pos, all_of(2), id_map, 7.0), 1);
}

TEST(Merge, LetsTheFirstOfThreeCoincidentNodesAbsorbTheOthers)
{
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(on_axis({4, 4, 4}), dense1D<unsigned>{1, 2, 0}, id_map, 0.5), 2);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{1, 1, 1}));
}

TEST(Merge, ChainsWhenAKeeperIsAbsorbedLater)
{
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(on_axis({0, 0.6, 1.1}), all_of(3), id_map, 1.0), 2);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 0, 0}));
}

TEST(Merge, PointsEveryNodeOfALongChainToItsEnd)
{
    // Each gap is smaller than the one before, so the chain is absorbed from its far end.
    constexpr unsigned n = 200;
    dense2D<double> pos(2, n, 0.0);
    for (unsigned j = 1; j < n; ++j) pos(0, j) = pos(0, j - 1) + 1.0 - j * 0.001;
    dense1D<unsigned> from_the_end(n);
    for (unsigned j = 0; j < n; ++j) from_the_end[j] = n - 1 - j;
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(pos, all_of(n), id_map, 1.0), int(n) - 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>(n, 0)));
    EXPECT_EQ(merge(pos, from_the_end, all_of(n), id_map, 1.0), int(n) - 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>(n, 0)));
}

TEST(Merge, GoesByTheOrderOfTheScanAtEqualDistances)
{
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(on_axis({0, 0.6, 1.2}), all_of(3), id_map, 1.0), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 0, 2}));
    EXPECT_EQ(merge(on_axis({0, 0.6, 1.2}), dense1D<unsigned>{2, 0, 1}, id_map, 1.0), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 2, 2}));
}

TEST(Merge, TakesDistancesThatAreOneFloatForEqual)
{
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(on_axis({0, 0.6, 1.2 - 1e-12}), all_of(3), id_map, 1.0), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 0, 2}));
    EXPECT_EQ(merge(on_axis({0, 0.6, 1.2 - 1e-6}), all_of(3), id_map, 1.0), 2);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 0, 0}));
}

TEST(Merge, TakesDistancesBelowTheSmallestFloatForCoincidence)
{
    // 1e-60 from node 1 to node 2 is no less than 2e-60 from node 0 to node 1.
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(on_axis({0, 2e-60, 3e-60}), all_of(3), id_map, 2.5e-60), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 0, 2}));
}

TEST(Merge, LetsScannedNodesAbsorbStoredOnes)
{
    const auto pos = on_axis({1, 1, 1});
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(pos, dense1D<unsigned>{0, 1}, dense1D<unsigned>{2}, id_map, 0.0), 2);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{2, 2, 2}));
    EXPECT_EQ(merge(pos, dense1D<unsigned>{2}, dense1D<unsigned>{0, 1}, id_map, 0.0), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 0}));
    EXPECT_EQ(merge(pos, dense1D<unsigned>{0, 1}, dense1D<unsigned>{1, 0}, id_map, 0.0), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{1, 1, 2}));
}

TEST(Merge, NeverJoinsTwoNodesOfTheSecondListAlone)
{
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(on_axis({1, 1, 9}), dense1D<unsigned>{2}, dense1D<unsigned>{0, 1}, id_map, 1.0),
              0);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 2}));
}

TEST(Merge, IgnoresRepeatsAndHolesInTheLists)
{
    const auto pos = on_axis({1, 1, 9});
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(pos, dense1D<unsigned>{none, 0, 1, 0, none, 1}, id_map, 0.1), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 0, 2}));
    EXPECT_EQ(merge(pos, dense1D<unsigned>{0, 0}, dense1D<unsigned>{none, 1, 1, none}, id_map, 0.1),
              1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{1, 1, 2}));
}

TEST(Merge, GivesAnEmptyMapForAnEmptyListAndTheIdentityForHolesAlone)
{
    const auto pos = on_axis({1, 1});
    const dense1D<unsigned> empty;
    dense1D<unsigned> id_map{5, 5};
    EXPECT_EQ(merge(pos, empty, all_of(2), id_map, 1.0), 0);
    EXPECT_EQ(id_map.size, 0U);
    EXPECT_EQ(merge(pos, all_of(2), empty, id_map, 1.0), 0);
    EXPECT_EQ(id_map.size, 0U);
    EXPECT_EQ(merge(pos, empty, id_map, 1.0), 0);
    EXPECT_EQ(id_map.size, 0U);
    EXPECT_EQ(merge(pos, dense1D<unsigned>{none}, id_map, 1.0), 0);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1}));
    EXPECT_EQ(merge(pos, all_of(2), dense1D<unsigned>{none}, id_map, 1.0), 0);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1}));
}

TEST(Merge, EmptiesAListThatIsTheMapItself)
{
    auto both = all_of(2);
    EXPECT_EQ(merge(on_axis({1, 1}), both, both, both, 1.0), 0);
    EXPECT_EQ(both.size, 0U);
}

TEST(Merge, StaysSafeWhenTheMapSharesTheStorageOfAList)
{
    const auto pos = on_axis({1, 1, 1, 2, 2, 3, 4, 5, 6, 7});
    dense1D<unsigned> list{9, 4, 3, 1, 2};
    dense1D<unsigned> id_map(list);
    EXPECT_GE(merge(pos, list, id_map, 0.0), 0);
    ASSERT_EQ(id_map.size, 10U);
    for (const unsigned representative : id_map) {
        ASSERT_LT(representative, 10U);
        EXPECT_EQ(id_map[representative], representative);
    }
}

TEST(Merge, ReportsTheFirstFaultOfALists)
{
    const dense1D<unsigned> good{0, 1};
    const dense1D<unsigned> bad{0, 2};
    const dense1D<unsigned> empty;
    struct {
        const char* what;
        std::size_t rows, cols;
        const dense1D<unsigned>&first, &second;
        double tol;
        int expected;
    } const ladder[] = {
        {"no columns, 4 rows", 4, 0, bad, bad, -1, 0},
        {"4 rows, bad first list", 4, 2, bad, bad, -1, -1},
        {"1 row", 1, 2, good, good, 1, -1},
        {"no rows", 0, 2, good, good, 1, -1},
        {"bad first list, bad second list", 2, 2, bad, bad, -1, -2},
        {"bad first list", 3, 2, bad, good, 1, -2},
        {"bad second list, negative tolerance", 2, 2, good, bad, -1, -3},
        {"bad second list, empty first", 2, 2, empty, bad, 1, -3},
        {"negative tolerance", 2, 2, good, good, -1, -4},
        {"negative tolerance, empty list", 2, 2, empty, good, -1, -4},
        {"least negative tolerance", 2, 2, good, good, -5e-324, -4},
        {"tolerance is not a number", 3, 2, good, good, not_a_number, -4},
    };
    for (const auto& step : ladder) {
        SCOPED_TRACE(step.what);
        const dense2D<double> pos(step.rows, step.cols, 0.0);
        dense1D<unsigned> id_map{7, 7, 7};
        EXPECT_EQ(merge(pos, step.first, step.second, id_map, step.tol), step.expected);
        EXPECT_EQ(id_map.size, 0U);
    }
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(on_axis({0, 0}), bad, id_map, 1.0), -2);
    EXPECT_EQ(merge(on_axis({0, 0}), good, id_map, -1.0), -4);
}

TEST(Merge, NeverJoinsNodesWithoutAPlace)
{
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(on_axis({not_a_number, not_a_number, 1, 1}), all_of(4), id_map, 1.0), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 2, 2}));
}

TEST(Merge, JoinsNodesAtOneInfinity)
{
    // Their distance is not a number, and thus not above the tolerance.
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(on_axis({infinity, -infinity, infinity, 0}), all_of(4), id_map, 1.0), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 0, 3}));
}

TEST(Merge, JoinsAllFiniteNodesAtInfiniteTolerance)
{
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(on_axis({1e200, -1e200, 3, 4}), all_of(4), id_map, infinity), 3);
}

TEST(Merge, SurvivesAHeapOfCoincidentNodes)
{
    constexpr std::size_t n = 5000;
    dense2D<double> pos(3, n, 2.5);
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(pos, all_of(n), id_map, 0.1), int(n) - 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>(n, 0)));
}

TEST(Merge, ReadsStridedCoordinates)
{
    const strided<double> pos(columns<double>({{0, 0, 0}, {1, 1, 1}, {0, 0, 0}}));
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(pos.view, all_of(3), id_map, 0.0), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 0}));
    EXPECT_TRUE(pos.gaps_untouched());
}

// ---- connectivities ----

TEST(Merge, JoinsTwoTrianglesAlongTheirCommonEdge)
{
    const auto pos = columns<double>({{0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}, {0, 1}});
    auto tria = columns<unsigned>({{0, 1, 2}, {3, 4, 5}});
    dense1D<unsigned> id_map;
    ASSERT_EQ(merge(pos, tria, id_map, 1e-9, 0), 2);
    EXPECT_TRUE(same(tria, columns<unsigned>({{0, 1, 2}, {1, 4, 2}})));
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 2, 1, 4, 2}));
}

TEST(Merge, LeavesNodesThatNoElementUses)
{
    const auto pos = on_axis({1, 1, 1});
    auto bars = columns<unsigned>({{2, 1}});
    dense1D<unsigned> id_map;
    ASSERT_EQ(merge(pos, bars, id_map, 0.0, 0), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 2, 2}));
    EXPECT_TRUE(same(bars, columns<unsigned>({{2, 2}})));
}

TEST(Merge, JoinsOnlyWithinElementsInModeOne)
{
    const auto pos = columns<double>({{0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}, {0, 1}});
    const auto apart = columns<unsigned>({{0, 1, 2}, {3, 4, 5}});
    for (const unsigned mode : {1U, 2U}) {
        auto tria = duplicate(apart);
        dense1D<unsigned> id_map;
        EXPECT_EQ(merge(pos, tria, id_map, 1e-9, mode), 0);
        EXPECT_TRUE(same(tria, apart));
        EXPECT_TRUE(same(id_map, all_of(6)));
    }
    auto tria = duplicate(apart);
    EXPECT_EQ(merge(pos, tria, 1e-9, 0), 2);
}

TEST(Merge, CollapsesShortEdgesWithinElementsInOrderOfTheScan)
{
    // Nodes 1 and 3 coincide but share an element only once node 1 has absorbed node 2.
    const auto pos = columns<double>({{0, 0}, {1, 0}, {1, 0.001}, {1, 0}});
    auto tria = columns<unsigned>({{0, 1, 2}, {0, 2, 3}});
    dense1D<unsigned> id_map;
    ASSERT_EQ(merge(pos, tria, id_map, 0.01, 1), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 1, 3}));
    EXPECT_TRUE(same(tria, columns<unsigned>({{0, 1, 1}, {0, 1, 3}})));
    ASSERT_EQ(merge(pos, tria, id_map, 0.01, 1), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 2, 1}));
    EXPECT_TRUE(same(tria, columns<unsigned>({{0, 1, 1}, {0, 1, 1}})));
}

TEST(Merge, RepeatsInModeTwoUntilNothingMerges)
{
    // Node 2 is too far from node 1, but near node 0, which takes the place of node 1.
    const auto pos = on_axis({0, 0.3, -0.9});
    const auto bars = columns<unsigned>({{0, 1}, {1, 2}});
    dense1D<unsigned> id_map;
    auto once = duplicate(bars);
    EXPECT_EQ(merge(pos, once, id_map, 1.0, 1), 1);
    EXPECT_TRUE(same(once, columns<unsigned>({{0, 0}, {0, 2}})));
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 0, 2}));
    auto repeated = duplicate(bars);
    EXPECT_EQ(merge(pos, repeated, id_map, 1.0, 2), 2);
    EXPECT_TRUE(same(repeated, columns<unsigned>({{0, 0}, {0, 0}})));
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 0, 0}));
}

TEST(Merge, KeepsTheMapDirectOverSeveralPasses)
{
    // Node 3 absorbs 4 first; then node 1, which 3 came to share an element with, absorbs 3.
    const auto pos = on_axis({-5, 0.9, 9, 0, -0.3});
    auto bars = columns<unsigned>({{1, 4}, {3, 4}});
    dense1D<unsigned> id_map;
    ASSERT_EQ(merge(pos, bars, id_map, 1.0, 2), 2);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 2, 1, 1}));
    EXPECT_TRUE(same(bars, columns<unsigned>({{1, 1}, {1, 1}})));
}

TEST(Merge, ComparesADoubleAcrossTheMeshAndAFloatWithinElements)
{
    // As a float 0.1 is more than as a double, and 0.7 + 8e-11 less than 0.7.
    const auto longer_as_float = on_axis({0, 0.1});
    const auto shorter_as_float = columns<double>({{0, 0}, {0.42, 0.5600000001}});
    const auto join = [](const dense2D<double>& pos, double tol, unsigned mode) {
        auto bars = columns<unsigned>({{0, 1}});
        return merge(pos, bars, tol, mode);
    };
    EXPECT_EQ(join(longer_as_float, 0.1, 0), 1);
    EXPECT_EQ(join(longer_as_float, 0.1, 1), 0);
    EXPECT_EQ(join(longer_as_float, 0.1, 2), 0);
    EXPECT_EQ(join(shorter_as_float, 0.7, 0), 0);
    EXPECT_EQ(join(shorter_as_float, 0.7, 1), 1);
    EXPECT_EQ(join(shorter_as_float, 0.7, 2), 1);
    // Along one axis the coordinates themselves are compared as doubles.
    EXPECT_EQ(join(on_axis({0, 0.70000000008}), 0.7, 1), 0);
}

TEST(Merge, SkipsHolesInElements)
{
    for (const unsigned mode : {0U, 1U, 2U}) {
        const auto pos = on_axis({0, 1, 1, 5});
        auto quad = columns<unsigned>({{0, none, 2, 1}, {none, none, none, none}, {0, 1, 3, none}});
        dense1D<unsigned> id_map;
        EXPECT_EQ(merge(pos, quad, id_map, 0.5, mode), 1) << mode;
        EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 2, 2, 3})) << mode;
        EXPECT_TRUE(same(
            quad, columns<unsigned>({{0, none, 2, 2}, {none, none, none, none}, {0, 2, 3, none}})))
            << mode;
    }
}

TEST(Merge, GivesAnEmptyMapWhenNoNodeIsUsed)
{
    for (const unsigned mode : {0U, 1U, 2U}) {
        auto tria = columns<unsigned>({{none, none, none}});
        dense1D<unsigned> id_map{1};
        EXPECT_EQ(merge(on_axis({1, 1}), tria, id_map, 1.0, mode), 0);
        EXPECT_EQ(id_map.size, 0U);
        dense2D<unsigned> empty;
        EXPECT_EQ(merge(on_axis({1, 1}), empty, id_map, 1.0, mode), 0);
        EXPECT_EQ(id_map.size, 0U);
    }
}

TEST(Merge, WritesThroughToBothMatrices)
{
    const auto pos = on_axis({0, 1, 0, 1});
    for (const unsigned mode : {0U, 1U, 2U}) {
        auto bars = columns<unsigned>({{0, 1}});
        auto faces = columns<unsigned>({{2, 3, 1}});
        auto view = bars;
        dense1D<unsigned> id_map;
        EXPECT_EQ(merge(pos, bars, faces, id_map, 0.1, mode), mode == 0 ? 2 : 1);
        if (mode == 0) {
            EXPECT_TRUE(same(bars, columns<unsigned>({{0, 1}})));
            EXPECT_TRUE(same(faces, columns<unsigned>({{0, 1, 1}})));
        } else {
            EXPECT_TRUE(same(bars, columns<unsigned>({{0, 3}})));
            EXPECT_TRUE(same(faces, columns<unsigned>({{2, 3, 3}})));
        }
        EXPECT_TRUE(same(view, bars));
    }
}

TEST(Merge, TakesTheSameMatrixTwice)
{
    auto bars = columns<unsigned>({{2, 1}});
    EXPECT_EQ(merge(on_axis({1, 1, 1}), bars, bars, 0.1, 2), 1);
    EXPECT_TRUE(same(bars, columns<unsigned>({{2, 2}})));
}

TEST(Merge, DefaultsToAMillionthAcrossTheMesh)
{
    const auto pos = columns<double>({{0, 0}, {0, 9e-7}, {5, 0}, {5, 1.1e-6}});
    const auto bars = columns<unsigned>({{0, 2}, {1, 3}});
    const auto merged = columns<unsigned>({{0, 2}, {0, 3}});
    auto one = duplicate(bars);
    EXPECT_EQ(merge(pos, one), 1);
    EXPECT_TRUE(same(one, merged));

    auto first = columns<unsigned>({{0, 2}});
    auto second = columns<unsigned>({{1, 3}});
    EXPECT_EQ(merge(pos, first, second), 1);
    EXPECT_TRUE(same(first, columns<unsigned>({{0, 2}})));
    EXPECT_TRUE(same(second, columns<unsigned>({{0, 3}})));
}

TEST(Merge, RefusesOtherHeightsInEveryFormBeforeItLooksAtTheNodes)
{
    auto bad = columns<unsigned>({{99, 100}});
    const dense2D<double> flat(4, 2, 0.0);
    const dense2D<double> nothing(4, 0);
    dense1D<unsigned> id_map;
    EXPECT_EQ(merge(flat, bad), -1);
    EXPECT_EQ(merge(nothing, bad), 0);
    EXPECT_EQ(merge(flat, bad, bad), -1);
    EXPECT_EQ(merge(nothing, bad, bad), 0);
    EXPECT_EQ(merge(on_axis({0, 1}), bad), -2);
    EXPECT_EQ(merge(on_axis({0, 1}), bad, bad), -2);
    EXPECT_EQ(merge(flat, bad, -1.0, 9), -1);
    EXPECT_EQ(merge(flat, bad, bad, -1.0, 9), -1);
    EXPECT_EQ(merge(flat, bad, id_map, -1.0, 9), -1);
    EXPECT_EQ(merge(flat, bad, bad, id_map, -1.0, 9), -1);
}

TEST(Merge, ReportsTheFirstFaultOfARange)
{
    struct {
        const char* what;
        std::size_t rows, cols;
        int first, last;
        unsigned node;
        double tol;
        unsigned mode;
        int expected;
    } const ladder[] = {
        {"no columns, 4 rows", 4, 0, 0, 1, 9, -1, 3, 0},
        {"empty range, 4 rows", 4, 2, 1, 1, 9, -1, 3, 0},
        {"4 rows, reversed range", 4, 2, 1, 0, 9, -1, 3, -1},
        {"1 row", 1, 2, 0, 1, 1, 1, 0, -1},
        {"no rows", 0, 2, 0, 1, 1, 1, 0, -1},
        {"reversed range, negative tolerance", 2, 2, 1, 0, 9, -1, 3, -3},
        {"reversed range", 3, 2, 1, 0, 1, 1, 0, -3},
        {"negative tolerance, mode 3", 2, 2, 0, 1, 9, -1, 3, -5},
        {"negative tolerance, no node", 2, 2, 0, 1, none, -1, 0, -5},
        {"tolerance is not a number", 2, 2, 0, 1, 1, not_a_number, 0, -5},
        {"mode 3, bad node", 2, 2, 0, 1, 9, 1, 3, -6},
        {"mode 3, no node", 2, 2, 0, 1, none, 1, 3, -6},
        {"largest mode", 2, 2, 0, 1, 1, 1, none, -6},
        {"bad node, mode 0", 2, 2, 0, 1, 2, 1, 0, -2},
        {"bad node, mode 1", 2, 2, 0, 1, 2, 1, 1, -2},
        {"bad node, mode 2", 3, 2, 0, 1, 2, 1, 2, -2},
    };
    for (const auto& step : ladder) {
        SCOPED_TRACE(step.what);
        const dense2D<double> pos(step.rows, step.cols, 0.0);
        const unsigned other = step.node == none ? none : 0;
        dense2D<unsigned> range[] = {columns<unsigned>({{other, step.node}}),
                                     columns<unsigned>({{9, 9}})};
        const auto before = duplicate(range[0]);
        dense1D<unsigned> id_map{7, 7, 7};
        EXPECT_EQ(merge(pos, range + step.first, range + step.last, id_map, step.tol, step.mode),
                  step.expected);
        EXPECT_EQ(id_map.size, 0U);
        EXPECT_EQ(merge(pos, range + step.first, range + step.last, step.tol, step.mode),
                  step.expected);
        EXPECT_TRUE(same(range[0], before));
    }
}

TEST(Merge, ChangesOnlyTheViewOfAStridedConnectivity)
{
    const strided<double> pos(columns<double>({{0, 0}, {1, 1}, {0, 0}, {1, 1}}));
    for (const unsigned mode : {0U, 2U}) {
        strided<unsigned> tria(columns<unsigned>({{0, 1, 2}, {3, 2, 1}}));
        dense1D<unsigned> id_map;
        ASSERT_EQ(merge(pos.view, tria.view, id_map, 0.0, mode), 2);
        if (mode == 0)
            EXPECT_TRUE(same(tria.view, columns<unsigned>({{0, 1, 0}, {1, 0, 1}})));
        else
            EXPECT_TRUE(same(tria.view, columns<unsigned>({{0, 3, 0}, {3, 0, 3}})));
        EXPECT_TRUE(tria.gaps_untouched());
    }
}

// ---- coordinates ----

TEST(Merge, RepeatsTheCoordinatesOfTheRepresentative)
{
    auto pos = on_axis({0, 5, 0.25, 5.125});
    dense1D<unsigned> id_map;
    ASSERT_EQ(merge(pos, id_map, 0.5), 2);
    EXPECT_TRUE(same(pos, on_axis({0, 5, 0, 5})));
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 0, 1}));

    auto again = on_axis({0, 5, 0.25, 5.125});
    EXPECT_EQ(merge(again, 0.5), 2);
    EXPECT_TRUE(same(again, pos));
}

TEST(Merge, LeavesOtherViewsOfTheCoordinatesAsTheyWere)
{
    strided<double> parent(columns<double>({{0, 0, 1}, {0, 0, 1.25}, {7, 7, 7}}));
    auto pos = parent.view;
    dense1D<unsigned> id_map;
    ASSERT_EQ(merge(pos, id_map, 0.5), 1);
    EXPECT_TRUE(same(pos, columns<double>({{0, 0, 1}, {0, 0, 1}, {7, 7, 7}})));
    EXPECT_TRUE(same(parent.view, columns<double>({{0, 0, 1}, {0, 0, 1.25}, {7, 7, 7}})));
    EXPECT_TRUE(parent.gaps_untouched());
    pos(0, 2) = 8;
    EXPECT_EQ(parent.view(0, 2), 7);
}

TEST(Merge, ReportsTheFirstFaultOfCoordinates)
{
    struct {
        const char* what;
        std::size_t rows, cols;
        double tol;
        int expected;
    } const ladder[] = {
        {"no columns, 4 rows", 4, 0, -1, 0},
        {"4 rows, negative tolerance", 4, 2, -1, -1},
        {"no rows", 0, 2, 1, -1},
        {"negative tolerance", 2, 2, -1, -3},
        {"tolerance is not a number", 3, 2, not_a_number, -3},
    };
    for (const auto& step : ladder) {
        SCOPED_TRACE(step.what);
        dense2D<double> pos(step.rows, step.cols, 0.0);
        const auto* storage = pos.vec.get();
        dense1D<unsigned> id_map{7, 7, 7};
        EXPECT_EQ(merge(pos, id_map, step.tol), step.expected);
        EXPECT_EQ(id_map.size, 0U);
        EXPECT_EQ(merge(pos, step.tol), step.expected);
        EXPECT_EQ(pos.vec.get(), storage);
    }
}
